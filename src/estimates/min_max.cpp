#include "frame.hpp"

#include "device/minmax_launch.hpp"
#include "host/drivers.hpp"

#include <stats/min_max.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void min_max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> min,
             sycl::buffer<T, 1> max) {
    detail::check_present("min_max", "min", min);
    detail::check_present("min_max", "max", max);
    if (detail::road_of(queue, "min_max") == detail::road::host) {
        detail::cpu::min_max_func<T, false> host(min, max, detail::cpu::method_fast);
        detail::cpu::submit(queue, data, host);
        return;
    }
    detail::gpu::submit_minmax(queue, data, detail::gpu::min_max_func_fast<T, false>(min, max));
}

template <method M, typename T, layout L>
sycl::event min_max(sycl::queue& queue, const dataset<L, T*>& data, T* min, T* max,
                    const std::vector<sycl::event>& dependencies) {
    detail::check_present("min_max", "min", min);
    detail::check_present("min_max", "max", max);
    if (detail::road_of(queue, "min_max") == detail::road::host) {
        detail::cpu::min_max_func<T, true> host{min, max, detail::cpu::method_fast};
        return detail::cpu::submit(queue, data, host, dependencies);
    }
    return detail::gpu::submit_minmax_usm(queue, data, detail::gpu::min_max_func_fast<T, true>(min, max),
                                          dependencies);
}

#define FORMS(T, L)                                                                                          \
    template void min_max<method::fast, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,           \
                                              sycl::buffer<T, 1>, sycl::buffer<T, 1>);                       \
    template sycl::event min_max<method::fast, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*,            \
                                                     const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS

} // namespace aurelo::qtx::stats
