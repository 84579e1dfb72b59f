#pragma once

#include "host_dataset.hpp"

#include <array>
#include <type_traits>
#include <utility>

namespace test {

namespace stats = aurelo::qtx::stats;

enum class form { buffer, usm };

template <typename T, std::size_t n>
using results = std::array<std::vector<T>, n>;

/// What outputs hold before a call, and must hold after it where nothing is to be stored.
template <typename T>
constexpr T untouched = T(-98765.5);

/// Unified shared memory of exactly as many elements as it holds; null if there are none.
template <typename T>
class usm_array {
public:
    usm_array(const sycl::queue& queue, const std::vector<T>& values) : queue_(queue), size_(values.size()) {
        if (size_ != 0) {
            data_ = sycl::malloc_shared<T>(size_, queue_);
            std::copy(values.begin(), values.end(), data_);
        }
    }
    usm_array(const usm_array&) = delete;
    usm_array& operator=(const usm_array&) = delete;
    ~usm_array() { sycl::free(data_, queue_); }

    T* get() const { return data_; }
    std::vector<T> values() const { return std::vector<T>(data_, data_ + size_); }

private:
    sycl::queue queue_;
    std::size_t size_;
    T* data_ = nullptr;
};

template <typename T>
sycl::buffer<T, 1> to_buffer(const std::vector<T>& values) {
    return values.empty() ? sycl::buffer<T, 1>(sycl::range<1>(0))
                          : sycl::buffer<T, 1>(values.begin(), values.end());
}

template <typename T>
std::vector<T> from_buffer(sycl::buffer<T, 1> buffer) {
    const sycl::host_accessor access(buffer, sycl::read_only);
    return std::vector<T>(access.begin(), access.end());
}

template <typename T, std::size_t n>
results<T, n> fresh_outputs(std::size_t n_dims, const std::array<bool, n>& present) {
    results<T, n> outputs;
    for (std::size_t k = 0; k < n; ++k) {
        outputs[k].assign(present[k] ? n_dims : 0, untouched<T>);
    }
    return outputs;
}

/// Calls `estimate(queue, [mean,] dataset, outputs...)` on buffers; with the mean if there is one and the
/// estimate takes it.
template <layout L, typename T, std::size_t n, typename Estimate>
results<T, n> run_on_buffers(sycl::queue& queue, const host_dataset<T>& data,
                             const std::array<bool, n>& present, const Estimate& estimate) {
    const auto n_dims = static_cast<std::int64_t>(data.n_dims);
    const auto n_observations = static_cast<std::int64_t>(data.n_observations);
    stats::dataset<L, sycl::buffer<T, 1>> set(n_dims, n_observations, to_buffer(data.template placed<L>()),
                                              to_buffer(data.weights), to_buffer(data.mask));
    const auto start = fresh_outputs<T>(data.n_dims, present);
    return [&]<std::size_t... k>(std::index_sequence<k...>) {
        std::array<sycl::buffer<T, 1>, n> out{to_buffer(start[k])...};
        constexpr bool takes_mean = std::is_invocable_v<const Estimate&, sycl::queue&, sycl::buffer<T, 1>,
                                                        decltype(set)&, decltype(out[k])&...>;
        if constexpr (takes_mean) {
            if (!data.mean.empty()) {
                estimate(queue, to_buffer(data.mean), set, out[k]...);
                return results<T, n>{from_buffer(out[k])...};
            }
        }
        estimate(queue, set, out[k]...);
        return results<T, n>{from_buffer(out[k])...};
    }
    (std::make_index_sequence<n>{});
}

/// The same on USM pointers; the estimate returns an event.
template <layout L, typename T, std::size_t n, typename Estimate>
results<T, n> run_on_pointers(sycl::queue& queue, const host_dataset<T>& data,
                              const std::array<bool, n>& present, const Estimate& estimate) {
    const usm_array<T> values(queue, data.template placed<L>());
    const usm_array<T> weights(queue, data.weights);
    const usm_array<std::int64_t> mask(queue, data.mask);
    const usm_array<T> mean(queue, data.mean);
    const stats::dataset<L, T*> set(static_cast<std::int64_t>(data.n_dims),
                                    static_cast<std::int64_t>(data.n_observations), values.get(),
                                    weights.get(), mask.get());
    const auto start = fresh_outputs<T>(data.n_dims, present);
    return [&]<std::size_t... k>(std::index_sequence<k...>) {
        const std::array<usm_array<T>, n> out{usm_array<T>(queue, start[k])...};
        constexpr bool takes_mean =
            std::is_invocable_v<const Estimate&, sycl::queue&, T*, decltype(set)&, decltype(out[k].get())...>;
        if constexpr (takes_mean) {
            if (!data.mean.empty()) {
                estimate(queue, mean.get(), set, out[k].get()...).wait();
                return results<T, n>{out[k].values()...};
            }
        }
        estimate(queue, set, out[k].get()...).wait();
        return results<T, n>{out[k].values()...};
    }
    (std::make_index_sequence<n>{});
}

struct arrangement {
    layout placement;
    form storage;

    std::string text() const {
        return std::string(placement == layout::by_dimension ? "by dimension" : "by observation") +
               (storage == form::buffer ? ", buffers" : ", USM");
    }
};

inline const std::vector<arrangement> arrangements{{layout::by_dimension, form::buffer},
                                                   {layout::by_dimension, form::usm},
                                                   {layout::by_observation, form::buffer},
                                                   {layout::by_observation, form::usm}};

/// Runs an estimate, given as a generic callable, in one of the arrangements.
template <typename T, std::size_t n, typename Estimate>
results<T, n> run(sycl::queue& queue, const arrangement& how, const host_dataset<T>& data,
                  const std::array<bool, n>& present, const Estimate& estimate) {
    if (how.placement == layout::by_dimension) {
        return how.storage == form::buffer
                   ? run_on_buffers<layout::by_dimension, T, n>(queue, data, present, estimate)
                   : run_on_pointers<layout::by_dimension, T, n>(queue, data, present, estimate);
    }
    return how.storage == form::buffer
               ? run_on_buffers<layout::by_observation, T, n>(queue, data, present, estimate)
               : run_on_pointers<layout::by_observation, T, n>(queue, data, present, estimate);
}

} // namespace test
