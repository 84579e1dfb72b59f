#include "routine.hpp"

#include "device/minmax_launch.hpp"

namespace aurelo::qtx::stats::detail {

namespace openmp {

template <bool ilp64, typename T, layout L>
outcome openmp_max(sycl::queue& queue, T* maximum, dataset<L, T*> data, method_code<ilp64> method) {
    return unless_refused(status_of_extremum(method, maximum, TSB_SS_NO_MAX), [&] {
        return gpu::submit_minmax_usm<ilp64>(queue, data, gpu::max_func_fast<T, true>(maximum), {});
    });
}

QTX_OPENMP_ROUTINE(openmp_max)

} // namespace openmp
} // namespace aurelo::qtx::stats::detail
