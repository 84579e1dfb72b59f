#pragma once

#include "sweep.hpp"

#include "device/dataset_helper.hpp"
#include "support/run.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

namespace sweep {

namespace stats = aurelo::qtx::stats;
namespace gpu = stats::detail::gpu;

inline constexpr std::size_t n_dims = 3;
inline constexpr std::size_t n_groups = 3;

/// Small integers of both signs, or positive ones.
template <typename T>
std::vector<T> integers(std::size_t n, unsigned seed, bool positive = false) {
    std::vector<T> result(n);
    unsigned state = seed * 2654435761U + 1;
    for (T& each : result) {
        state = state * 1664525U + 1013904223U;
        each = static_cast<T>(static_cast<int>(state >> 24) % 5 + (positive ? 1 : -2));
    }
    return result;
}

/// Weights, some of which count as 1.
template <typename T>
std::vector<T> weights(std::size_t n) {
    std::vector<T> result = integers<T>(n, 5);
    for (std::size_t i = 0; i < n; i += 11) {
        result[i] = std::nan("") * T(1);
    }
    return result;
}

/// The second of three dimensions is left out; 64-bit words, or 32-bit ones behind the same type.
template <bool index_64>
std::vector<std::int64_t> mask() {
    if constexpr (index_64) {
        return {1, 0, -1};
    } else {
        return {1, 1};
    }
}

/// An array as kernels of one form take it: of a buffer, or of unified shared memory.
template <typename T, bool is_usm>
class array {
public:
    array(sycl::queue& queue, const std::vector<T>& values) : memory_(make(queue, values)) {}

    auto argument() -> std::conditional_t<is_usm, T*, sycl::buffer<T, 1>&> {
        if constexpr (is_usm) {
            return memory_->get();
        } else {
            return *memory_;
        }
    }
    std::vector<T> values() {
        if constexpr (is_usm) {
            return memory_->values();
        } else {
            return memory_->size() == 0 ? std::vector<T>() : test::from_buffer(*memory_);
        }
    }

private:
    using memory = std::conditional_t<is_usm, test::usm_array<T>, sycl::buffer<T, 1>>;

    static std::shared_ptr<memory> make(sycl::queue& queue, const std::vector<T>& values) {
        if constexpr (is_usm) {
            return std::make_shared<memory>(queue, values);
        } else {
            return std::make_shared<memory>(test::to_buffer(values));
        }
    }

    std::shared_ptr<memory> memory_;
};

/// A dataset and the kernels' view of it.
template <typename T, stats::layout L, bool is_usm, bool index_64>
class input {
public:
    input(sycl::queue& queue, const setting& how, std::size_t n_observations)
        : values_(queue, integers<T>(n_dims * n_observations, 1)),
          weights_(queue, how.weighted ? weights<T>(n_observations) : std::vector<T>()),
          mask_(queue, how.masked ? sweep::mask<index_64>() : std::vector<std::int64_t>()) {
        stats::dataset<L, std::conditional_t<is_usm, T*, sycl::buffer<T, 1>>> data(
            static_cast<std::int64_t>(n_dims), static_cast<std::int64_t>(n_observations), values_.argument(),
            weights_.argument(), mask_.argument());
        if constexpr (is_usm) {
            view_.emplace(stats::detail::make_helper<index_64>(data));
        } else {
            view_.emplace(data, spare_weights_, spare_indices_);
        }
    }

    auto& view() { return *view_; }

private:
    sycl::buffer<T, 1> spare_weights_{sycl::range<1>(1)};
    sycl::buffer<std::int64_t, 1> spare_indices_{sycl::range<1>(1)};
    array<T, is_usm> values_;
    array<T, is_usm> weights_;
    array<std::int64_t, is_usm> mask_;
    std::optional<stats::detail::dataset_helper<T, L, is_usm, index_64>> view_;
};

/// Elements of a row that \p groups groups handle.
inline std::size_t row_of(const setting& how, std::size_t groups) {
    const std::size_t full = groups * how.local_size;
    return how.tailed ? full - how.local_size / 2 : full;
}
inline std::size_t tail_of(const setting& how) {
    return how.tailed ? row_of(how, 1) % how.local_size : 0;
}

/// Outputs hold a value of their own until a kernel stores to them.
template <typename T>
constexpr T untouched = T(-98765.5);

/// Calls `add(kernel name, group name, run)` where `run(queue, setting)` returns the outcome of a launch.
template <typename T, typename Run>
void add_case(case_list& list, const char* kernel, const std::string& group, const Run& run) {
    list.push_back(
        {std::string("_ZTS") + kernel, group, [run](sycl::queue& a, sycl::queue& b, const setting& how) {
             return difference<T>(run(a, how), run(b, how));
         }});
}

} // namespace sweep
