#pragma once

#include "sweep.hpp"

#include "device/dataset_view.hpp"
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

using test::array;

/// A dataset and the kernels' view of it.
template <typename T, stats::layout L, bool is_usm, bool index_64>
class input {
public:
    // The mask leaves out the second of three dimensions; it has 64-bit words, or 32-bit ones behind the same type.
    input(sycl::queue& queue, const setting& how, std::size_t n_observations)
        : values_(queue, integers<T>(n_dims * n_observations, 1)),
          weights_(queue, how.weighted ? weights<T>(n_observations) : std::vector<T>()),
          mask_(queue, !how.masked ? std::vector<std::int64_t>()
                       : index_64  ? std::vector<std::int64_t>{1, 0, -1}
                                   : std::vector<std::int64_t>{1, 1}) {
        test::dataset_of<L, T, is_usm> data(static_cast<std::int64_t>(n_dims),
                                            static_cast<std::int64_t>(n_observations), values_.argument(),
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

} // namespace sweep
