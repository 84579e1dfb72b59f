#include "frame.hpp"

#include "device/minmax_launch.hpp"
#include "host/drivers.hpp"

#include <stats/max.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> max) {
    detail::check_present("max", "max", max);
    if (detail::road_of(queue, "max") == detail::road::host) {
        detail::cpu::max_func<T, false> host(max, detail::cpu::method_fast);
        detail::cpu::submit(queue, data, host);
        return;
    }
    detail::gpu::submit_minmax(queue, data, detail::gpu::max_func_fast<T, false>(max));
}

template <method M, typename T, layout L>
sycl::event max(sycl::queue& queue, const dataset<L, T*>& data, T* max,
                const std::vector<sycl::event>& dependencies) {
    detail::check_present("max", "max", max);
    if (detail::road_of(queue, "max") == detail::road::host) {
        detail::cpu::max_func<T, true> host{max, detail::cpu::method_fast};
        return detail::cpu::submit(queue, data, host, dependencies);
    }
    return detail::gpu::submit_minmax_usm(queue, data, detail::gpu::max_func_fast<T, true>(max),
                                          dependencies);
}

#define FORMS(T, L)                                                                                          \
    template void max<method::fast, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,               \
                                          sycl::buffer<T, 1>);                                               \
    template sycl::event max<method::fast, T, L>(sycl::queue&, const dataset<L, T*>&, T*,                    \
                                                 const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS

} // namespace aurelo::qtx::stats
