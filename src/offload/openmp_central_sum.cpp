#include "basic_routine.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

namespace {

constexpr order_checks<3> orders{{{TSB_SS_EST_CENTRAL_SUM2, TSB_SS_NO_CENTRAL_SUM2},
                                  {TSB_SS_EST_CENTRAL_SUM3, TSB_SS_NO_CENTRAL_SUM3},
                                  {TSB_SS_EST_CENTRAL_SUM4, TSB_SS_NO_CENTRAL_SUM4}}};

} // namespace

template <bool ilp64, typename T, layout L>
outcome openmp_central_sum(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* central_sum2,
                           T* central_sum3, T* central_sum4, dataset<L, T*> data, method_code<ilp64> method,
                           estimate_mask estimates) {
    const int status = status_of_central(method, estimates, orders, mean, {raw2, raw3, raw4},
                                         {central_sum2, central_sum3, central_sum4});
    const auto expanded = gpu::ex::make_extended_central<gpu::ex::central_sum_func_fast<T, true>>(
        mean, raw2, raw3, raw4, central_sum2, central_sum3, central_sum4);
    const auto about_mean =
        gpu::make_central<gpu::central_sum_func_user_mean<T, true>>(central_sum2, central_sum3, central_sum4);
    return run_by_method<ilp64>(status, queue, data, method, expanded, about_mean, mean);
}

QTX_OPENMP_ROUTINE(openmp_central_sum)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
