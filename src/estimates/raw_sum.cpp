#include "frame.hpp"

#include "device/estimates/drivers.hpp"
#include "host/drivers.hpp"

#include <stats/raw_sum.hpp>

namespace aurelo::qtx::stats {

template <method M, typename T, layout L>
void raw_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> sum,
             sycl::buffer<T, 1> raw_sum_2, sycl::buffer<T, 1> raw_sum_3, sycl::buffer<T, 1> raw_sum_4) {
    detail::check_outputs("raw_sum", "sums", "sum", sum, raw_sum_2, raw_sum_3, raw_sum_4);
    if (detail::road_of(queue, "raw_sum") == detail::road::host) {
        detail::cpu::raw_sum<method::fast>(queue, data, sum, raw_sum_2, raw_sum_3, raw_sum_4);
        return;
    }
    detail::gpu::raw_sum<method::fast, T, L>(queue, data, sum, raw_sum_2, raw_sum_3, raw_sum_4);
}

template <method M, typename T, layout L>
sycl::event raw_sum(sycl::queue& queue, const dataset<L, T*>& data, T* sum, T* raw_sum_2, T* raw_sum_3,
                    T* raw_sum_4, const std::vector<sycl::event>& dependencies) {
    detail::check_outputs("raw_sum", "sums", "sum", sum, raw_sum_2, raw_sum_3, raw_sum_4);
    if (detail::road_of(queue, "raw_sum") == detail::road::host) {
        detail::cpu::raw_sum_func<T, true> host{sum, raw_sum_2, raw_sum_3, raw_sum_4,
                                                detail::cpu::method_fast};
        return detail::cpu::submit(queue, data, host, dependencies);
    }
    return detail::gpu::raw_sum<method::fast, T, L>(queue, data, sum, raw_sum_2, raw_sum_3, raw_sum_4,
                                                    dependencies);
}

// The forms of one method.
#define FORMS_OF(M, T, L)                                                                                    \
    template void raw_sum<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>,  \
                                   sycl::buffer<T, 1>, sycl::buffer<T, 1>, sycl::buffer<T, 1>);              \
    template sycl::event raw_sum<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*, T*, T*,               \
                                          const std::vector<sycl::event>&);
#define FORMS(T, L)                                                                                          \
    FORMS_OF(method::fast, T, L)                                                                             \
    FORMS_OF(method::standard, T, L)
QTX_INSTANTIATE_ESTIMATE(FORMS)
#undef FORMS
#undef FORMS_OF

} // namespace aurelo::qtx::stats
