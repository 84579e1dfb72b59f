#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/drivers.hpp"

#include <stats/raw_moment.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void raw_moment(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> mean,
                sycl::buffer<T, 1> raw_moment_2, sycl::buffer<T, 1> raw_moment_3,
                sycl::buffer<T, 1> raw_moment_4) {
    detail::check_outputs("raw_moment", "moments", "mean", mean, raw_moment_2, raw_moment_3, raw_moment_4);
    if (detail::road_of(queue, "raw_moment") == detail::road::host) {
        detail::cpu::raw_moment<method::fast>(queue, data, mean, raw_moment_2, raw_moment_3, raw_moment_4);
        return;
    }
    detail::gpu::raw_moment<method::fast, T, L>(queue, data, mean, raw_moment_2, raw_moment_3, raw_moment_4);
}

template <method M, typename T, layout L>
sycl::event raw_moment(sycl::queue& queue, const dataset<L, T*>& data, T* mean, T* raw_moment_2,
                       T* raw_moment_3, T* raw_moment_4, const std::vector<sycl::event>& dependencies) {
    detail::check_outputs("raw_moment", "moments", "mean", mean, raw_moment_2, raw_moment_3, raw_moment_4);
    if (detail::road_of(queue, "raw_moment") == detail::road::host) {
        detail::cpu::raw_moment_func<T, true> host{mean, raw_moment_2, raw_moment_3, raw_moment_4,
                                                   detail::cpu::method_fast};
        return detail::cpu::submit(queue, data, host, dependencies);
    }
    return detail::gpu::raw_moment<method::fast, T, L>(queue, data, mean, raw_moment_2, raw_moment_3,
                                                       raw_moment_4, dependencies);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void raw_moment<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,                   \
                                      sycl::buffer<T, 1>, sycl::buffer<T, 1>, sycl::buffer<T, 1>,            \
                                      sycl::buffer<T, 1>);                                                   \
    template sycl::event raw_moment<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*, T*, T*,            \
                                             const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
