#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "accumulate_float.cpp"
#include <hwy/foreach_target.h>

#include "accumulate-inl.hpp"

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {
data_kernels make_float_kernels() {
    return make_data_kernels<float>();
}
} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tsb {
HWY_EXPORT(make_float_kernels);
data_kernels float_kernels() {
    return HWY_DYNAMIC_DISPATCH(make_float_kernels)();
}
} // namespace tsb
#endif
