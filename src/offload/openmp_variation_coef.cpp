#include "basic_routine.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

template <bool ilp64, typename T, layout L>
outcome openmp_variation(sycl::queue& queue, T* mean, T* raw2, T* variation, dataset<L, T*> data,
                         method_code<ilp64> method, estimate_mask) {
    const int status = status_of_shape(method, mean, {raw2}, variation, TSB_SS_NO_VARIATION);
    const gpu::ex::variation_func_fast<T, true> expanded{mean, raw2, variation};
    const gpu::variation_func_user_mean<T, true> about_mean{variation};
    return run_by_method<ilp64>(status, queue, data, method, expanded, about_mean, mean);
}

QTX_OPENMP_ROUTINE(openmp_variation)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
