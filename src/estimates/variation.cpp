#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/drivers.hpp"

#include <stats/variation.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void variation(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> variation) {
    detail::check_present("variation", "variation", variation);
    if (detail::road_of(queue, "variation") == detail::road::host) {
        detail::cpu::variation<method::fast>(queue, data, variation);
        return;
    }
    detail::gpu::variation<method::fast, T, L>(queue, data, variation);
}

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, const dataset<L, T*>& data, T* variation,
                      const std::vector<sycl::event>& dependencies) {
    detail::check_present("variation", "variation", variation);
    if (detail::road_of(queue, "variation") == detail::road::host) {
        return detail::cpu::variation<method::fast>(queue, data, variation, dependencies);
    }
    return detail::gpu::variation<method::fast, T, L>(queue, data, variation, dependencies);
}

template <method M, typename T, layout L>
void variation(sycl::queue& queue, sycl::buffer<T, 1> mean, const dataset<L, sycl::buffer<T, 1>>& data,
               sycl::buffer<T, 1> variation) {
    detail::check_present("variation", "variation", variation);
    detail::check_present("variation", "mean", mean);
    if (detail::road_of(queue, "variation") == detail::road::host) {
        detail::cpu::variation_about(queue, data, mean, variation, detail::method_user_mean);
        return;
    }
    detail::gpu::submit_basic(queue, data, detail::gpu::variation_func_user_mean<T, false>(variation), mean);
}

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* variation,
                      const std::vector<sycl::event>& dependencies) {
    detail::check_present("variation", "variation", variation);
    detail::check_present("variation", "mean", mean);
    if (detail::road_of(queue, "variation") == detail::road::host) {
        return detail::cpu::variation_about(queue, data, mean, variation, detail::method_user_mean,
                                            dependencies);
    }
    return detail::gpu::submit_basic_usm(
        queue, data, detail::gpu::variation_func_user_mean<T, true>(variation), dependencies, mean);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void variation<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,                    \
                                     sycl::buffer<T, 1>);                                                    \
    template sycl::event variation<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,                         \
                                            const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)                                                                         \
    template void variation<method::fast, T, L>(sycl::queue&, sycl::buffer<T, 1>,                            \
                                                const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>);  \
    template sycl::event variation<method::fast, T, L>(sycl::queue&, T*, const dataset<L, T*>&, T*,          \
                                                       const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
