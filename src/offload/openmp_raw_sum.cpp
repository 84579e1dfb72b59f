#include "routine.hpp"

#include "device/basic_launch.hpp"
#include "device/estimates/raw_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

namespace {

constexpr order_checks<4> orders{{{TSB_SS_EST_SUM, TSB_SS_NO_SUM},
                                  {TSB_SS_EST_RAW_SUM2, TSB_SS_NO_RAW_SUM2},
                                  {TSB_SS_EST_RAW_SUM3, TSB_SS_NO_RAW_SUM3},
                                  {TSB_SS_EST_RAW_SUM4, TSB_SS_NO_RAW_SUM4}}};

} // namespace

template <bool ilp64, typename T, layout L>
outcome openmp_raw_sum(sycl::queue& queue, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4, dataset<L, T*> data,
                       method_code<ilp64> method, estimate_mask estimates) {
    const int status = status_of_raw(method, estimates, orders, {sum, raw_sum2, raw_sum3, raw_sum4});
    return unless_refused(status, [&] {
        const auto functor =
            gpu::make_raw<gpu::raw_sum_func_fast<T, true>>(sum, raw_sum2, raw_sum3, raw_sum4);
        return gpu::submit_basic_usm<ilp64>(queue, data, functor, {});
    });
}

QTX_OPENMP_ROUTINE(openmp_raw_sum)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
