#include "basic_routine.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

namespace {

constexpr order_checks<3> orders{{{TSB_SS_EST_CENTRAL2, TSB_SS_NO_CENTRAL2},
                                  {TSB_SS_EST_CENTRAL3, TSB_SS_NO_CENTRAL3},
                                  {TSB_SS_EST_CENTRAL4, TSB_SS_NO_CENTRAL4}}};

} // namespace

template <bool ilp64, typename T, layout L>
outcome openmp_central_moment(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* central2,
                              T* central3, T* central4, dataset<L, T*> data, method_code<ilp64> method,
                              estimate_mask estimates) {
    const int status = status_of_central(method, estimates, orders, mean, {raw2, raw3, raw4},
                                         {central2, central3, central4});
    const auto expanded = gpu::ex::make_extended_central<gpu::ex::central_moment_func_fast<T, true>>(
        mean, raw2, raw3, raw4, central2, central3, central4);
    const auto about_mean =
        gpu::make_central<gpu::central_moment_func_user_mean<T, true>>(central2, central3, central4);
    return run_by_method<ilp64>(status, queue, data, method, expanded, about_mean, mean);
}

QTX_OPENMP_ROUTINE(openmp_central_moment)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
