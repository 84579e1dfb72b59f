#include "frame.hpp"

#include "device/minmax_launch.hpp"
#include "host/drivers.hpp"

#include <stats/min.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void min(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> min) {
    detail::check_present("min", "min", min);
    if (detail::road_of(queue, "min") == detail::road::host) {
        detail::cpu::min_func<T, false> host(min, detail::cpu::method_fast);
        detail::cpu::submit(queue, data, host);
        return;
    }
    detail::gpu::submit_minmax(queue, data, detail::gpu::min_func_fast<T, false>(min));
}

template <method M, typename T, layout L>
sycl::event min(sycl::queue& queue, const dataset<L, T*>& data, T* min,
                const std::vector<sycl::event>& dependencies) {
    detail::check_present("min", "min", min);
    if (detail::road_of(queue, "min") == detail::road::host) {
        detail::cpu::min_func<T, true> host{min, detail::cpu::method_fast};
        return detail::cpu::submit(queue, data, host, dependencies);
    }
    return detail::gpu::submit_minmax_usm(queue, data, detail::gpu::min_func_fast<T, true>(min),
                                          dependencies);
}

#define FORMS(T, L)                                                                                          \
    template void min<method::fast, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,               \
                                          sycl::buffer<T, 1>);                                               \
    template sycl::event min<method::fast, T, L>(sycl::queue&, const dataset<L, T*>&, T*,                    \
                                                 const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS

} // namespace aurelo::qtx::stats
