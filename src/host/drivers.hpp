/**
 * \file drivers.hpp
 * \brief Every estimate on a CPU device: outputs and scratch become a functor, the functor a command.
 *
 * Buffer form: the returned event is not waited for; scratch goes out of scope and its storage goes with the
 * command. USM form: an estimate without scratch returns its event at once, one with scratch waits for it
 * and frees the scratch.
 */
#pragma once

#include "functors.hpp"
#include "scratch.hpp"
#include "submit.hpp"

#include <stats/method.hpp>

#include <utility>
#include <vector>

namespace aurelo::qtx::stats::detail::cpu {

using dependency_list = std::vector<sycl::event>;

inline constexpr auto method_fast = static_cast<std::int64_t>(method::fast);

/** \brief The named drivers exist for one method: the other forms call them too. */
template <method M>
inline constexpr bool only_fast = M == method::fast;

/** \brief Submits a functor that works in scratch and waits, so that the scratch can go. */
template <typename T, layout L, typename Func>
sycl::event submit_and_wait(sycl::queue& queue, dataset<L, T*> data, Func func,
                            const dependency_list& dependencies) {
    sycl::event done = submit(queue, data, func, dependencies);
    done.wait();
    return done;
}

template <method M, typename T, layout L>
sycl::event mean(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data,
                 sycl::buffer<T, 1> out) requires only_fast<M> {
    mean_func<T, false> func(out, method_fast);
    return submit(queue, std::move(data), func);
}

/** \brief Raw sums or raw moments, as \p Func says, with spares in the place of absent orders. */
template <typename Func, typename T, layout L>
sycl::event submit_raw(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1>& first,
                       sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third, sycl::buffer<T, 1>& fourth) {
    Func func(first, second, third, fourth, spare_buffer<T>(), spare_buffer<T>(), spare_buffer<T>(),
              method_fast);
    return submit(queue, std::move(data), func);
}

template <method M, typename T, layout L>
sycl::event raw_sum(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1> sum,
                    sycl::buffer<T, 1> sum2, sycl::buffer<T, 1> sum3,
                    sycl::buffer<T, 1> sum4) requires only_fast<M> {
    return submit_raw<raw_sum_func<T, false>>(queue, std::move(data), sum, sum2, sum3, sum4);
}

template <method M, typename T, layout L>
sycl::event raw_moment(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1> mean,
                       sycl::buffer<T, 1> raw2, sycl::buffer<T, 1> raw3,
                       sycl::buffer<T, 1> raw4) requires only_fast<M> {
    return submit_raw<raw_moment_func<T, false>>(queue, std::move(data), mean, raw2, raw3, raw4);
}

/** \brief Variation about \p mean: the caller's with method_user_mean, else scratch. */
template <typename T, layout L>
sycl::event variation_about(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1> mean,
                            sycl::buffer<T, 1> out, std::int64_t method_code) {
    const auto scratch = [&] { return scratch_buffer<T>(data.n_dims); };
    variation_func<T, false> func(std::move(mean), scratch(), scratch(), std::move(out), method_code);
    return submit(queue, std::move(data), func);
}

template <typename T, layout L>
sycl::event skewness_about(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1> mean,
                           sycl::buffer<T, 1> out, std::int64_t method_code) {
    const auto scratch = [&] { return scratch_buffer<T>(data.n_dims); };
    skewness_func<T, false> func(std::move(mean), scratch(), scratch(), scratch(), scratch(), std::move(out),
                                 method_code);
    return submit(queue, std::move(data), func);
}

template <typename T, layout L>
sycl::event kurtosis_about(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, sycl::buffer<T, 1> mean,
                           sycl::buffer<T, 1> out, std::int64_t method_code) {
    const auto scratch = [&] { return scratch_buffer<T>(data.n_dims); };
    kurtosis_func<T, false> func(std::move(mean), scratch(), scratch(), scratch(), scratch(), scratch(),
                                 std::move(out), method_code);
    return submit(queue, std::move(data), func);
}

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data,
                      sycl::buffer<T, 1> out) requires only_fast<M> {
    auto mean = scratch_buffer<T>(data.n_dims);
    return variation_about(queue, std::move(data), std::move(mean), std::move(out), method_fast);
}

template <method M, typename T, layout L>
sycl::event skewness(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data,
                     sycl::buffer<T, 1> out) requires only_fast<M> {
    auto mean = scratch_buffer<T>(data.n_dims);
    return skewness_about(queue, std::move(data), std::move(mean), std::move(out), method_fast);
}

template <method M, typename T, layout L>
sycl::event kurtosis(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data,
                     sycl::buffer<T, 1> out) requires only_fast<M> {
    auto mean = scratch_buffer<T>(data.n_dims);
    return kurtosis_about(queue, std::move(data), std::move(mean), std::move(out), method_fast);
}

/** \brief Variation in the USM form; \p mean is the caller's, or null: then it is scratch like the rest. */
template <typename T, layout L>
sycl::event variation_about(sycl::queue& queue, dataset<L, T*> data, T* mean, T* out,
                            std::int64_t method_code, const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    variation_func<T, true> func;
    func.mean = mean != nullptr ? mean : scratch.allocate();
    func.raw2 = scratch.allocate();
    func.central2 = scratch.allocate();
    func.out = out;
    func.method = method_code;
    scratch.check("variation");
    return submit_and_wait(queue, data, func, dependencies);
}

template <typename T, layout L>
sycl::event skewness_about(sycl::queue& queue, dataset<L, T*> data, T* mean, T* out, std::int64_t method_code,
                           const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    skewness_func<T, true> func;
    func.mean = mean != nullptr ? mean : scratch.allocate();
    func.raw2 = scratch.allocate();
    func.raw3 = scratch.allocate();
    func.central2 = scratch.allocate();
    func.central3 = scratch.allocate();
    func.out = out;
    func.method = method_code;
    scratch.check("skewness");
    return submit_and_wait(queue, data, func, dependencies);
}

template <typename T, layout L>
sycl::event kurtosis_about(sycl::queue& queue, dataset<L, T*> data, T* mean, T* out, std::int64_t method_code,
                           const dependency_list& dependencies) {
    usm_scratch<T> scratch(queue, data.n_dims);
    kurtosis_func<T, true> func;
    func.mean = mean != nullptr ? mean : scratch.allocate();
    func.raw2 = scratch.allocate();
    func.raw3 = scratch.allocate();
    func.raw4 = scratch.allocate();
    func.central2 = scratch.allocate();
    func.central4 = scratch.allocate();
    func.out = out;
    func.method = method_code;
    scratch.check("kurtosis");
    return submit_and_wait(queue, data, func, dependencies);
}

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, dataset<L, T*> data, T* out,
                      const dependency_list& dependencies) requires only_fast<M> {
    return variation_about<T, L>(queue, data, nullptr, out, method_fast, dependencies);
}

template <method M, typename T, layout L>
sycl::event skewness(sycl::queue& queue, dataset<L, T*> data, T* out,
                     const dependency_list& dependencies) requires only_fast<M> {
    return skewness_about<T, L>(queue, data, nullptr, out, method_fast, dependencies);
}

template <method M, typename T, layout L>
sycl::event kurtosis(sycl::queue& queue, dataset<L, T*> data, T* out,
                     const dependency_list& dependencies) requires only_fast<M> {
    return kurtosis_about<T, L>(queue, data, nullptr, out, method_fast, dependencies);
}

} // namespace aurelo::qtx::stats::detail::cpu
