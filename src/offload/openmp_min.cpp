#include "routine.hpp"

#include "device/minmax_launch.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

template <bool ilp64, typename T, layout L>
outcome openmp_min(sycl::queue& queue, T* minimum, dataset<L, T*> data, method_code<ilp64> method) {
    return unless_refused(status_of_extremum(method, minimum, TSB_SS_NO_MIN), [&] {
        return gpu::submit_minmax_usm<ilp64>(queue, data, gpu::min_func_fast<T, true>(minimum), {});
    });
}

QTX_OPENMP_ROUTINE(openmp_min)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
