#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "accumulate_double.cpp"
#include <hwy/foreach_target.h>

#include "accumulate-inl.hpp"

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {
data_kernels make_double_kernels() {
    return make_data_kernels<double>();
}
} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tsb {
HWY_EXPORT(make_double_kernels);
data_kernels double_kernels() {
    return HWY_DYNAMIC_DISPATCH(make_double_kernels)();
}
} // namespace tsb
#endif
