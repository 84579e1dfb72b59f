/**
 * \file central_drivers.hpp
 * \brief Central sums and central moments on a CPU device, in their three methods.
 *
 * The component is given raw moments to work in, as far as the orders wanted need them.
 */
#pragma once

#include "central_functors.hpp"
#include "drivers.hpp"

namespace aurelo::qtx::stats::detail::cpu {

/** \brief The raw moments of the buffer shape: order 3 serves orders 3 and 4, order 4 itself. */
template <typename T>
struct raw_moment_buffers {
    sycl::buffer<T, 1> raw2;
    sycl::buffer<T, 1> raw3;
    sycl::buffer<T, 1> raw4;

    raw_moment_buffers(std::int64_t n_dims, bool wants3, bool wants4)
        : raw2(scratch_buffer<T>(n_dims)),
          raw3(wants3 || wants4 ? scratch_buffer<T>(n_dims) : spare_buffer<T>()),
          raw4(wants4 ? scratch_buffer<T>(n_dims) : spare_buffer<T>()) {}
};

/** \brief Outputs of the buffer shape with the spares that stand in for absent ones. */
template <typename T>
central_outputs<T, false> with_spares(sycl::buffer<T, 1>& out2, sycl::buffer<T, 1>& out3,
                                      sycl::buffer<T, 1>& out4) {
    auto spare3 = spare_buffer<T>();
    auto spare4 = spare_buffer<T>();
    return central_outputs<T, false>(out2, out3, out4, spare3, spare4);
}

template <typename T, layout L>
sycl::event central_sum_fast(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                             sycl::buffer<T, 1>& out2, sycl::buffer<T, 1>& out3, sycl::buffer<T, 1>& out4) {
    auto mean = scratch_buffer<T>(data.n_dims);
    raw_moment_buffers<T> raw(data.n_dims, out3.size() != 0, out4.size() != 0);
    central_sum_func_fast<T, false> func(moment_scratch<T, false>(mean, raw.raw2, raw.raw3, raw.raw4),
                                         with_spares(out2, out3, out4));
    return submit(queue, data, func);
}

/** \brief Central sums with no arrays to work in; \p mean is the caller's with method_user_mean, else
 * scratch. */
template <typename T, layout L>
sycl::event central_sum_about(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                              sycl::buffer<T, 1> mean, sycl::buffer<T, 1>& out2, sycl::buffer<T, 1>& out3,
                              sycl::buffer<T, 1>& out4, std::int64_t method_code) {
    central_sum_func<T, false> func(mean, with_spares(out2, out3, out4), method_code);
    return submit(queue, data, func);
}

template <typename T, layout L>
sycl::event central_moment_about(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                 sycl::buffer<T, 1> mean, sycl::buffer<T, 1>& out2, sycl::buffer<T, 1>& out3,
                                 sycl::buffer<T, 1>& out4, std::int64_t method_code) {
    raw_moment_buffers<T> raw(data.n_dims, out3.size() != 0, out4.size() != 0);
    central_moment_func<T, false> func(moment_scratch<T, false>(mean, raw.raw2, raw.raw3, raw.raw4),
                                       with_spares(out2, out3, out4), method_code);
    return submit(queue, data, func);
}

/** \brief Mean and raw moments of the USM shape; what is not needed stays null. */
template <typename T>
moment_scratch<T, true> allocate_moments(usm_scratch<T>& scratch, T* mean, bool wants3, bool wants4) {
    T* const about = mean != nullptr ? mean : scratch.allocate();
    T* const raw2 = scratch.allocate();
    T* const raw3 = scratch.allocate_if(wants3);
    T* const raw4 = scratch.allocate_if(wants4);
    return moment_scratch<T, true>(about, raw2, raw3, raw4);
}

template <typename T, layout L>
sycl::event central_sum_fast(sycl::queue& queue, const dataset<L, T*>& data, T* out2, T* out3, T* out4,
                             const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    const auto moments = allocate_moments<T>(scratch, nullptr, out3 != nullptr, out4 != nullptr);
    scratch.check("central_sum");
    return submit_and_wait(
        queue, data, central_sum_func_fast<T, true>(moments, central_outputs<T, true>(out2, out3, out4)),
        dependencies);
}

/** \brief Central sums about a mean that is scratch. */
template <typename T, layout L>
sycl::event central_sum_standard(sycl::queue& queue, const dataset<L, T*>& data, T* out2, T* out3, T* out4,
                                 const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    T* const mean = scratch.allocate();
    scratch.check("central_sum");
    const central_sum_func<T, true> func(mean, central_outputs<T, true>(out2, out3, out4),
                                         static_cast<std::int64_t>(method::standard));
    return submit_and_wait(queue, data, func, dependencies);
}

/** \brief Central sums about the caller's mean: no scratch, so that the event returns at once. */
template <typename T, layout L>
sycl::event central_sum_user_mean(sycl::queue& queue, const dataset<L, T*>& data, T* mean, T* out2, T* out3,
                                  T* out4, const dependency_list& dependencies) {
    central_sum_func<T, true> func(mean, central_outputs<T, true>(out2, out3, out4), method_user_mean);
    return submit(queue, data, func, dependencies);
}

/** \brief Central moments in the USM shape; \p mean is the caller's, or null: then it is scratch like the
 * rest. */
template <typename T, layout L>
sycl::event central_moment_about(sycl::queue& queue, const dataset<L, T*>& data, T* mean, T* out2, T* out3,
                                 T* out4, std::int64_t method_code, const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    const auto moments = allocate_moments<T>(scratch, mean, out3 != nullptr, out4 != nullptr);
    scratch.check("central_moment");
    return submit_and_wait(
        queue, data,
        central_moment_func<T, true>(moments, central_outputs<T, true>(out2, out3, out4), method_code),
        dependencies);
}

} // namespace aurelo::qtx::stats::detail::cpu
