#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/drivers.hpp"

#include <stats/kurtosis.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void kurtosis(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> kurtosis) {
    detail::check_present("kurtosis", "kurtosis", kurtosis);
    if (detail::road_of(queue, "kurtosis") == detail::road::host) {
        detail::cpu::kurtosis<method::fast>(queue, data, kurtosis);
        return;
    }
    detail::gpu::kurtosis<method::fast, T, L>(queue, data, kurtosis);
}

template <method M, typename T, layout L>
sycl::event kurtosis(sycl::queue& queue, const dataset<L, T*>& data, T* kurtosis,
                     const std::vector<sycl::event>& dependencies) {
    detail::check_present("kurtosis", "kurtosis", kurtosis);
    if (detail::road_of(queue, "kurtosis") == detail::road::host) {
        return detail::cpu::kurtosis<method::fast>(queue, data, kurtosis, dependencies);
    }
    return detail::gpu::kurtosis<method::fast, T, L>(queue, data, kurtosis, dependencies);
}

template <method M, typename T, layout L>
void kurtosis(sycl::queue& queue, sycl::buffer<T, 1> mean, const dataset<L, sycl::buffer<T, 1>>& data,
              sycl::buffer<T, 1> kurtosis) {
    detail::check_present("kurtosis", "kurtosis", kurtosis);
    detail::check_present("kurtosis", "mean", mean);
    if (detail::road_of(queue, "kurtosis") == detail::road::host) {
        detail::cpu::kurtosis_about(queue, data, mean, kurtosis, detail::method_user_mean);
        return;
    }
    detail::gpu::submit_basic(queue, data, detail::gpu::kurtosis_func_user_mean<T, false>(kurtosis), mean);
}

template <method M, typename T, layout L>
sycl::event kurtosis(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* kurtosis,
                     const std::vector<sycl::event>& dependencies) {
    detail::check_present("kurtosis", "kurtosis", kurtosis);
    detail::check_present("kurtosis", "mean", mean);
    if (detail::road_of(queue, "kurtosis") == detail::road::host) {
        return detail::cpu::kurtosis_about(queue, data, mean, kurtosis, detail::method_user_mean,
                                           dependencies);
    }
    return detail::gpu::submit_basic_usm(queue, data, detail::gpu::kurtosis_func_user_mean<T, true>(kurtosis),
                                         dependencies, mean);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void kurtosis<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,                     \
                                    sycl::buffer<T, 1>);                                                     \
    template sycl::event kurtosis<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,                          \
                                           const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)                                                                         \
    template void kurtosis<method::fast, T, L>(sycl::queue&, sycl::buffer<T, 1>,                             \
                                               const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>);   \
    template sycl::event kurtosis<method::fast, T, L>(sycl::queue&, T*, const dataset<L, T*>&, T*,           \
                                                      const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
