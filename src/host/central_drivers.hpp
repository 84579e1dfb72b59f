/**
 * \file central_drivers.hpp
 * \brief Central sums and central moments on a CPU device, in their three methods.
 *
 * The component is given raw moments to work in, as far as the orders wanted need them.
 */
#pragma once

#include "drivers.hpp"

namespace aurelo::qtx::stats::detail::cpu {

/** \brief A raw moment of the buffer form: scratch if an order needs it, else a spare. */
template <typename T>
sycl::buffer<T, 1> scratch_if(bool needed, std::int64_t n_dims) {
    return needed ? scratch_buffer<T>(n_dims) : spare_buffer<T>();
}

template <typename T, layout L>
sycl::event central_sum_fast(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1> out2,
                             sycl::buffer<T, 1> out3, sycl::buffer<T, 1> out4) {
    const bool wants3 = out3.size() != 0, wants4 = out4.size() != 0;
    central_sum_func_fast<T, false> func(scratch_buffer<T>(data.n_dims), scratch_buffer<T>(data.n_dims),
                                         scratch_if<T>(wants3 || wants4, data.n_dims),
                                         scratch_if<T>(wants4, data.n_dims), std::move(out2), std::move(out3),
                                         std::move(out4), spare_buffer<T>(), spare_buffer<T>());
    return submit(queue, std::move(data), func);
}

/** \brief Central sums with no arrays to work in; \p mean is the caller's with method_user_mean, else
 * scratch. */
template <typename T, layout L>
sycl::event central_sum_about(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data,
                              sycl::buffer<T, 1> mean, sycl::buffer<T, 1> out2, sycl::buffer<T, 1> out3,
                              sycl::buffer<T, 1> out4, std::int64_t method_code) {
    central_sum_func<T, false> func(std::move(mean), std::move(out2), std::move(out3), std::move(out4),
                                    spare_buffer<T>(), spare_buffer<T>(), method_code);
    return submit(queue, std::move(data), func);
}

template <typename T, layout L>
sycl::event central_moment_about(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data,
                                 sycl::buffer<T, 1> mean, sycl::buffer<T, 1> out2, sycl::buffer<T, 1> out3,
                                 sycl::buffer<T, 1> out4, std::int64_t method_code) {
    const bool wants3 = out3.size() != 0, wants4 = out4.size() != 0;
    central_moment_func<T, false> func(std::move(mean), scratch_buffer<T>(data.n_dims),
                                       scratch_if<T>(wants3 || wants4, data.n_dims),
                                       scratch_if<T>(wants4, data.n_dims), std::move(out2), std::move(out3),
                                       std::move(out4), spare_buffer<T>(), spare_buffer<T>(), method_code);
    return submit(queue, std::move(data), func);
}

template <typename T, layout L>
sycl::event central_sum_fast(sycl::queue& queue, dataset<L, T*> data, T* out2, T* out3, T* out4,
                             const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    central_sum_func_fast<T, true> func;
    func.mean = scratch.allocate();
    func.raw2 = scratch.allocate();
    func.raw3 = scratch.allocate_if(out3 != nullptr);
    func.raw4 = scratch.allocate_if(out4 != nullptr);
    func.sum2 = out2;
    func.sum3 = out3;
    func.sum4 = out4;
    scratch.check("central_sum");
    return submit_and_wait(queue, data, func, dependencies);
}

/** \brief Central sums about a mean that is scratch. */
template <typename T, layout L>
sycl::event central_sum_standard(sycl::queue& queue, dataset<L, T*> data, T* out2, T* out3, T* out4,
                                 const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    const central_sum_func<T, true> func{scratch.allocate(), out2, out3, out4,
                                         static_cast<std::int64_t>(method::standard)};
    scratch.check("central_sum");
    return submit_and_wait(queue, data, func, dependencies);
}

/** \brief Central sums about the caller's mean: no scratch, so that the event returns at once. */
template <typename T, layout L>
sycl::event central_sum_user_mean(sycl::queue& queue, dataset<L, T*> data, T* mean, T* out2, T* out3, T* out4,
                                  const dependency_list& dependencies) {
    central_sum_func<T, true> func{mean, out2, out3, out4, method_user_mean};
    return submit(queue, data, func, dependencies);
}

/** \brief Central moments in the USM form; \p mean is the caller's, or null: then it is scratch like the
 * rest. */
template <typename T, layout L>
sycl::event central_moment_about(sycl::queue& queue, dataset<L, T*> data, T* mean, T* out2, T* out3, T* out4,
                                 std::int64_t method_code, const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    central_moment_func<T, true> func;
    func.mean = mean != nullptr ? mean : scratch.allocate();
    func.raw2 = scratch.allocate();
    func.raw3 = scratch.allocate_if(out3 != nullptr);
    func.raw4 = scratch.allocate_if(out4 != nullptr);
    func.central2 = out2;
    func.central3 = out3;
    func.central4 = out4;
    func.method = method_code;
    scratch.check("central_moment");
    return submit_and_wait(queue, data, func, dependencies);
}

} // namespace aurelo::qtx::stats::detail::cpu
