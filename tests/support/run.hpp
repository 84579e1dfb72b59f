#pragma once

#include "host_dataset.hpp"

#include <array>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

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

/// An array as one form of the estimates takes it: a buffer, or a pointer to unified shared memory.
template <typename T, bool is_usm>
class array {
    using memory = std::conditional_t<is_usm, usm_array<T>, sycl::buffer<T, 1>>;

public:
    array(sycl::queue& queue, const std::vector<T>& values) {
        if constexpr (is_usm) {
            memory_ = std::make_shared<memory>(queue, values);
        } else {
            memory_ = std::make_shared<memory>(to_buffer(values));
        }
    }

    auto argument() const -> std::conditional_t<is_usm, T*, sycl::buffer<T, 1>&> {
        if constexpr (is_usm) {
            return memory_->get();
        } else {
            return *memory_;
        }
    }

    std::vector<T> values() const {
        if constexpr (is_usm) {
            return memory_->values();
        } else {
            return memory_->size() == 0 ? std::vector<T>() : from_buffer(*memory_);
        }
    }

private:
    std::shared_ptr<memory> memory_;
};

template <layout L, typename T, bool is_usm>
using dataset_of = stats::dataset<L, std::conditional_t<is_usm, T*, sycl::buffer<T, 1>>>;

/// Calls `estimate(queue, [mean,] dataset, outputs...)` in one form, to its end on pointers; with the mean if there is
/// one and the estimate takes it.
template <layout L, bool is_usm, typename T, std::size_t n, typename Estimate>
results<T, n> run_as(sycl::queue& queue, const host_dataset<T>& data, const std::array<bool, n>& present,
                     const Estimate& estimate) {
    const array<T, is_usm> values(queue, data.template placed<L>());
    const array<T, is_usm> weights(queue, data.weights);
    const array<std::int64_t, is_usm> mask(queue, data.mask);
    const array<T, is_usm> mean(queue, data.mean);
    const dataset_of<L, T, is_usm> set(static_cast<std::int64_t>(data.n_dims),
                                       static_cast<std::int64_t>(data.n_observations), values.argument(),
                                       weights.argument(), mask.argument());
    const auto call = [&](auto&&... arguments) {
        if constexpr (is_usm) {
            estimate(queue, arguments...).wait();
        } else {
            estimate(queue, arguments...);
        }
    };
    return [&]<std::size_t... k>(std::index_sequence<k...>) {
        const std::array<array<T, is_usm>, n> out{
            array<T, is_usm>(queue, std::vector<T>(present[k] ? data.n_dims : 0, untouched<T>))...};
        constexpr bool takes_mean =
            std::is_invocable_v<const Estimate&, sycl::queue&, decltype(mean.argument()), decltype(set)&,
                                decltype(out[k].argument())...>;
        if constexpr (takes_mean) {
            if (!data.mean.empty()) {
                call(mean.argument(), set, out[k].argument()...);
                return results<T, n>{out[k].values()...};
            }
        }
        call(set, out[k].argument()...);
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

/// Those to run on \p queue: all, but one for each element type on an OpenCL device, whose driver compiles a kernel for a
/// second. QTX_ALL_ARRANGEMENTS asks for all there, too.
template <typename T>
std::vector<arrangement> arrangements_on(const sycl::queue& queue) {
    if (queue.get_backend() != sycl::backend::opencl || std::getenv("QTX_ALL_ARRANGEMENTS") != nullptr) {
        return arrangements;
    }
    return {std::is_same_v<T, float> ? arrangements.front() : arrangements.back()};
}

/// Runs an estimate, given as a generic callable, in one of the arrangements.
template <typename T, std::size_t n, typename Estimate>
results<T, n> run(sycl::queue& queue, const arrangement& how, const host_dataset<T>& data,
                  const std::array<bool, n>& present, const Estimate& estimate) {
    const bool usm = how.storage == form::usm;
    if (how.placement == layout::by_dimension) {
        return usm ? run_as<layout::by_dimension, true>(queue, data, present, estimate)
                   : run_as<layout::by_dimension, false>(queue, data, present, estimate);
    }
    return usm ? run_as<layout::by_observation, true>(queue, data, present, estimate)
               : run_as<layout::by_observation, false>(queue, data, present, estimate);
}

} // namespace test
