#include "routine.hpp"

#include "device/basic_launch.hpp"
#include "device/estimates/raw_funcs.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

namespace {

constexpr order_checks<4> orders{{{TSB_SS_EST_MEAN, TSB_SS_NO_MEAN},
                                  {TSB_SS_EST_RAW2, TSB_SS_NO_RAW2},
                                  {TSB_SS_EST_RAW3, TSB_SS_NO_RAW3},
                                  {TSB_SS_EST_RAW4, TSB_SS_NO_RAW4}}};

} // namespace

template <bool ilp64, typename T, layout L>
outcome openmp_raw_moment(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, dataset<L, T*> data,
                          method_code<ilp64> method, estimate_mask estimates) {
    const int status = status_of_raw(method, estimates, orders, {mean, raw2, raw3, raw4});
    return unless_refused(status, [&] {
        const auto functor = gpu::make_raw<gpu::raw_moment_func_fast<T, true>>(mean, raw2, raw3, raw4);
        return gpu::submit_basic_usm<ilp64>(queue, data, functor, {});
    });
}

QTX_OPENMP_ROUTINE(openmp_raw_moment)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
