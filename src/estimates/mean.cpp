#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/drivers.hpp"

#include <stats/mean.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void mean(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> mean) {
    detail::check_present("mean", "mean", mean);
    if (detail::road_of(queue, "mean") == detail::road::host) {
        detail::cpu::mean<method::fast>(queue, data, mean);
        return;
    }
    detail::gpu::mean<method::fast, T, L>(queue, data, mean);
}

template <method M, typename T, layout L>
sycl::event mean(sycl::queue& queue, const dataset<L, T*>& data, T* mean,
                 const std::vector<sycl::event>& dependencies) {
    detail::check_present("mean", "mean", mean);
    if (detail::road_of(queue, "mean") == detail::road::host) {
        detail::cpu::mean_func<T, true> host{mean, detail::cpu::method_fast};
        return detail::cpu::submit(queue, data, host, dependencies);
    }
    return detail::gpu::mean<method::fast, T, L>(queue, data, mean, dependencies);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void mean<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>);    \
    template sycl::event mean<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,                              \
                                       const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
