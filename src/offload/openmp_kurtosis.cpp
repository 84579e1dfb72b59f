#include "basic_routine.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

template <bool ilp64, typename T, layout L>
outcome openmp_kurtosis(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* kurtosis,
                        dataset<L, T*> data, method_code<ilp64> method, estimate_mask) {
    const int status = status_of_shape(method, mean, {raw2, raw3, raw4}, kurtosis, TSB_SS_NO_KURTOSIS);
    const gpu::ex::kurtosis_func_fast<T, true> expanded{{}, mean, raw2, raw3, raw4, kurtosis};
    const gpu::kurtosis_func_user_mean<T, true> about_mean{kurtosis};
    return run_by_method<ilp64>(status, queue, data, method, expanded, about_mean, mean);
}

QTX_OPENMP_ROUTINE(openmp_kurtosis)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
