#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/drivers.hpp"

#include <stats/skewness.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void skewness(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> skewness) {
    detail::check_present("skewness", "skewness", skewness);
    if (detail::road_of(queue, "skewness") == detail::road::host) {
        detail::cpu::skewness<method::fast>(queue, data, skewness);
        return;
    }
    detail::gpu::skewness<method::fast, T, L>(queue, data, skewness);
}

template <method M, typename T, layout L>
sycl::event skewness(sycl::queue& queue, const dataset<L, T*>& data, T* skewness,
                     const std::vector<sycl::event>& dependencies) {
    detail::check_present("skewness", "skewness", skewness);
    if (detail::road_of(queue, "skewness") == detail::road::host) {
        return detail::cpu::skewness<method::fast>(queue, data, skewness, dependencies);
    }
    return detail::gpu::skewness<method::fast, T, L>(queue, data, skewness, dependencies);
}

template <method M, typename T, layout L>
void skewness(sycl::queue& queue, sycl::buffer<T, 1> mean, const dataset<L, sycl::buffer<T, 1>>& data,
              sycl::buffer<T, 1> skewness) {
    detail::check_present("skewness", "skewness", skewness);
    detail::check_present("skewness", "mean", mean);
    if (detail::road_of(queue, "skewness") == detail::road::host) {
        detail::cpu::skewness_about(queue, data, mean, skewness, detail::method_user_mean);
        return;
    }
    detail::gpu::submit_basic(queue, data, detail::gpu::skewness_func_user_mean<T, false>(skewness), mean);
}

template <method M, typename T, layout L>
sycl::event skewness(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* skewness,
                     const std::vector<sycl::event>& dependencies) {
    detail::check_present("skewness", "skewness", skewness);
    detail::check_present("skewness", "mean", mean);
    if (detail::road_of(queue, "skewness") == detail::road::host) {
        return detail::cpu::skewness_about(queue, data, mean, skewness, detail::method_user_mean,
                                           dependencies);
    }
    return detail::gpu::submit_basic_usm(queue, data, detail::gpu::skewness_func_user_mean<T, true>(skewness),
                                         dependencies, mean);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void skewness<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,                     \
                                    sycl::buffer<T, 1>);                                                     \
    template sycl::event skewness<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,                          \
                                           const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)                                                                         \
    template void skewness<method::fast, T, L>(sycl::queue&, sycl::buffer<T, 1>,                             \
                                               const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>);   \
    template sycl::event skewness<method::fast, T, L>(sycl::queue&, T*, const dataset<L, T*>&, T*,           \
                                                      const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
