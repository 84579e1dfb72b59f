#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/central_drivers.hpp"

#include <stats/central_moment.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void central_moment(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                    sycl::buffer<T, 1> central_moment_2, sycl::buffer<T, 1> central_moment_3,
                    sycl::buffer<T, 1> central_moment_4) {
    detail::check_outputs("central_moment", "moments", "central moment", central_moment_2, central_moment_3,
                          central_moment_4);
    if (detail::road_of(queue, "central_moment") == detail::road::host) {
        detail::cpu::central_moment_about(queue, data, detail::cpu::scratch_buffer<T>(data.n_dims),
                                          central_moment_2, central_moment_3, central_moment_4,
                                          static_cast<std::int64_t>(M));
        return;
    }
    if constexpr (M == method::fast) {
        using functor = detail::gpu::central_moment_func_fast<T, false>;
        detail::gpu::run_central<functor>(queue, data, central_moment_2, central_moment_3, central_moment_4);
    } else {
        detail::refuse_method("central_moment");
    }
}

template <method M, typename T, layout L>
sycl::event central_moment(sycl::queue& queue, const dataset<L, T*>& data, T* central_moment_2,
                           T* central_moment_3, T* central_moment_4,
                           [[maybe_unused]] const std::vector<sycl::event>& dependencies) {
    detail::check_outputs("central_moment", "moments", "central moment", central_moment_2, central_moment_3,
                          central_moment_4);
    if (detail::road_of(queue, "central_moment") == detail::road::host) {
        T* const no_mean = nullptr;
        return detail::cpu::central_moment_about(queue, data, no_mean, central_moment_2, central_moment_3,
                                                 central_moment_4, static_cast<std::int64_t>(M),
                                                 dependencies);
    }
    if constexpr (M == method::fast) {
        const auto functor = detail::gpu::make_central<detail::gpu::central_moment_func_fast<T, true>>(
            central_moment_2, central_moment_3, central_moment_4);
        return detail::gpu::submit_basic_usm(queue, data, functor, dependencies);
    } else {
        detail::refuse_method("central_moment");
    }
}

template <method M, typename T, layout L>
void central_moment(sycl::queue& queue, sycl::buffer<T, 1> mean, const dataset<L, sycl::buffer<T, 1>>& data,
                    sycl::buffer<T, 1> central_moment_2, sycl::buffer<T, 1> central_moment_3,
                    sycl::buffer<T, 1> central_moment_4) {
    detail::check_outputs("central_moment", "moments", "central moment", central_moment_2, central_moment_3,
                          central_moment_4);
    detail::check_present("central_moment", "mean", mean);
    if (detail::road_of(queue, "central_moment") == detail::road::host) {
        detail::cpu::central_moment_about(queue, data, mean, central_moment_2, central_moment_3,
                                          central_moment_4, detail::method_user_mean);
        return;
    }
    using functor = detail::gpu::central_moment_func_user_mean<T, false>;
    detail::gpu::run_central<functor>(queue, data, central_moment_2, central_moment_3, central_moment_4,
                                      mean);
}

template <method M, typename T, layout L>
sycl::event central_moment(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* central_moment_2,
                           T* central_moment_3, T* central_moment_4,
                           const std::vector<sycl::event>& dependencies) {
    detail::check_outputs("central_moment", "moments", "central moment", central_moment_2, central_moment_3,
                          central_moment_4);
    detail::check_present("central_moment", "mean", mean);
    if (detail::road_of(queue, "central_moment") == detail::road::host) {
        return detail::cpu::central_moment_about(queue, data, mean, central_moment_2, central_moment_3,
                                                 central_moment_4, detail::method_user_mean, dependencies);
    }
    const auto functor = detail::gpu::make_central<detail::gpu::central_moment_func_user_mean<T, true>>(
        central_moment_2, central_moment_3, central_moment_4);
    return detail::gpu::submit_basic_usm(queue, data, functor, dependencies, mean);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void central_moment<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,               \
                                          sycl::buffer<T, 1>, sycl::buffer<T, 1>, sycl::buffer<T, 1>);       \
    template sycl::event central_moment<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*, T*,            \
                                                 const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)                                                                         \
    template void central_moment<method::fast, T, L>(                                                        \
        sycl::queue&, sycl::buffer<T, 1>, const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>,         \
        sycl::buffer<T, 1>, sycl::buffer<T, 1>);                                                             \
    template sycl::event central_moment<method::fast, T, L>(sycl::queue&, T*, const dataset<L, T*>&, T*, T*, \
                                                            T*, const std::vector<sycl::event>&);
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
