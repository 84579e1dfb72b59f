/**
 * \file drivers.hpp
 * \brief The device side of each estimate: its functor, and the launch routine of its form. Each returns the
 * event of the last kernel.
 */
#pragma once

#include "../basic_launch.hpp"
#include "central_funcs.hpp"
#include "kernel_layout.hpp"
#include "raw_funcs.hpp"
#include "shape_funcs.hpp"

#include <stats/dataset.hpp>
#include <stats/method.hpp>

#include <sycl/sycl.hpp>

#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

using event_list = std::vector<sycl::event>;

template <layout L, typename T>
using buffer_dataset = dataset<L, sycl::buffer<T, 1>>;

/** \brief Runs a functor of output buffers of orders 1 to 4. */
template <typename Functor, typename T, layout L>
sycl::event run_raw(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out1,
                    sycl::buffer<T, 1> out2, sycl::buffer<T, 1> out3, sycl::buffer<T, 1> out4) {
    auto spare2 = placeholder_buffer<T>();
    auto spare3 = placeholder_buffer<T>();
    auto spare4 = placeholder_buffer<T>();
    return submit_basic(queue, data, Functor(out1, out2, out3, out4, spare2, spare3, spare4));
}

/** \brief Runs a functor of output buffers of orders 2 to 4, about \p mean if there is one. */
template <typename Functor, typename T, layout L, typename... Mean>
sycl::event run_central(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out2,
                        sycl::buffer<T, 1> out3, sycl::buffer<T, 1> out4, Mean... mean) {
    auto spare3 = placeholder_buffer<T>();
    auto spare4 = placeholder_buffer<T>();
    return submit_basic(queue, data, Functor(out2, out3, out4, spare3, spare4), mean...);
}

template <method M, typename T, layout L>
sycl::event mean(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out) {
    return submit_basic(queue, data, mean_func<T, false>(out));
}
template <method M, typename T, layout L>
sycl::event mean(sycl::queue& queue, dataset<L, T*> data, T* out, const event_list& dependencies) {
    return submit_basic_usm(queue, data, mean_func<T, true>{out}, dependencies);
}

template <method M, typename T, layout L>
sycl::event raw_sum(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out1,
                    sycl::buffer<T, 1> out2, sycl::buffer<T, 1> out3, sycl::buffer<T, 1> out4) {
    return run_raw<raw_sum_func_fast<T, false>>(queue, data, out1, out2, out3, out4);
}
template <method M, typename T, layout L>
sycl::event raw_sum(sycl::queue& queue, dataset<L, T*> data, T* out1, T* out2, T* out3, T* out4,
                    const event_list& dependencies) {
    return submit_basic_usm(queue, data, make_raw<raw_sum_func_fast<T, true>>(out1, out2, out3, out4),
                            dependencies);
}

template <method M, typename T, layout L>
sycl::event raw_moment(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out1,
                       sycl::buffer<T, 1> out2, sycl::buffer<T, 1> out3, sycl::buffer<T, 1> out4) {
    return run_raw<raw_moment_func_fast<T, false>>(queue, data, out1, out2, out3, out4);
}
template <method M, typename T, layout L>
sycl::event raw_moment(sycl::queue& queue, dataset<L, T*> data, T* out1, T* out2, T* out3, T* out4,
                       const event_list& dependencies) {
    return submit_basic_usm(queue, data, make_raw<raw_moment_func_fast<T, true>>(out1, out2, out3, out4),
                            dependencies);
}

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out) {
    return submit_basic(queue, data, variation_func_fast<T, false>(out));
}
template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, dataset<L, T*> data, T* out, const event_list& dependencies) {
    return submit_basic_usm(queue, data, variation_func_fast<T, true>{out}, dependencies);
}

template <method M, typename T, layout L>
sycl::event skewness(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out) {
    return submit_basic(queue, data, skewness_func_fast<T, false>(out));
}
template <method M, typename T, layout L>
sycl::event skewness(sycl::queue& queue, dataset<L, T*> data, T* out, const event_list& dependencies) {
    return submit_basic_usm(queue, data, make_shape<skewness_func_fast<T, true>>(out), dependencies);
}

template <method M, typename T, layout L>
sycl::event kurtosis(sycl::queue& queue, buffer_dataset<L, T> data, sycl::buffer<T, 1> out) {
    return submit_basic(queue, data, kurtosis_func_fast<T, false>(out));
}
template <method M, typename T, layout L>
sycl::event kurtosis(sycl::queue& queue, dataset<L, T*> data, T* out, const event_list& dependencies) {
    return submit_basic_usm(queue, data, make_shape<kurtosis_func_fast<T, true>>(out), dependencies);
}

} // namespace aurelo::qtx::stats::detail::gpu
