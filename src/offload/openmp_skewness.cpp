#include "basic_routine.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

template <bool ilp64, typename T, layout L>
outcome openmp_skewness(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* skewness, dataset<L, T*> data,
                        method_code<ilp64> method, estimate_mask) {
    const int status = status_of_shape(method, mean, {raw2, raw3}, skewness, TSB_SS_NO_SKEWNESS);
    const gpu::ex::skewness_func_fast<T, true> expanded{{}, mean, raw2, raw3, skewness};
    const gpu::skewness_func_user_mean<T, true> about_mean{skewness};
    return run_by_method<ilp64>(status, queue, data, method, expanded, about_mean, mean);
}

QTX_OPENMP_ROUTINE(openmp_skewness)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
