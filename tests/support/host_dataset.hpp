#pragma once

#include <stats/stats.hpp>

#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace test {

using aurelo::qtx::stats::layout;

/// A dataset on the host, dimension after dimension; empty vectors are absent arrays.
template <typename T>
struct host_dataset {
    std::size_t n_dims = 0;
    std::size_t n_observations = 0;
    std::vector<T> values;
    std::vector<T> weights;
    std::vector<std::int64_t> mask;
    std::vector<T> mean;

    T at(std::size_t d, std::size_t i) const { return values[d * n_observations + i]; }
    bool computes(std::size_t d) const { return mask.empty() || mask[d] != 0; }
    T weight(std::size_t i) const { return !weights.empty() && weights[i] > 0 ? weights[i] : T(1); }

    /// The matrix as \p L places it.
    template <layout L>
    std::vector<T> placed() const {
        if constexpr (L == layout::by_dimension) {
            return values;
        } else {
            std::vector<T> result(values.size());
            for (std::size_t d = 0; d < n_dims; ++d) {
                for (std::size_t i = 0; i < n_observations; ++i) {
                    result[i * n_dims + d] = at(d, i);
                }
            }
            return result;
        }
    }
};

enum class weighting { none, positive, odd };
enum class masking { none, first_out, alternate, all_out, all_in };

/// What a generated dataset is made from; printing it is enough to make the dataset again.
struct recipe {
    std::size_t n_dims = 3;
    std::size_t n_observations = 1;
    weighting weights = weighting::none;
    masking mask = masking::none;
    bool integers = false;
    bool own_mean = false;
    unsigned seed = 1;

    std::string text() const {
        std::ostringstream out;
        out << n_dims << " dims, " << n_observations << " observations, weights " << static_cast<int>(weights)
            << ", mask " << static_cast<int>(mask) << (integers ? ", integers" : ", reals")
            << (own_mean ? ", caller's mean" : "") << ", seed " << seed;
        return out.str();
    }
};

/// Two clusters around a small offset: a spread that no choice of elements brings near 0.
template <typename T>
T clustered(std::mt19937& random, std::size_t i) {
    const T distance = std::uniform_real_distribution<T>(T(0.75), T(1.5))(random);
    return T(0.25) + (i % 2 == 0 ? distance : -distance);
}

template <typename T>
std::vector<T> make_weights(const recipe& r, std::mt19937& random) {
    std::vector<T> weights;
    if (r.weights == weighting::none) {
        return weights;
    }
    for (std::size_t i = 0; i < r.n_observations; ++i) {
        weights.push_back(r.integers ? T(std::uniform_int_distribution<int>(1, 3)(random))
                                     : std::uniform_real_distribution<T>(T(0.5), T(2))(random));
        if (r.weights == weighting::odd && i % 3 != 2) {
            const T odd[] = {T(0), T(-2), std::numeric_limits<T>::quiet_NaN()};
            weights.back() = odd[i % 4 % 3];
        }
    }
    return weights;
}

inline std::vector<std::int64_t> make_mask(masking kind, std::size_t n_dims) {
    std::vector<std::int64_t> mask;
    for (std::size_t d = 0; d < n_dims && kind != masking::none; ++d) {
        switch (kind) {
        case masking::first_out:
            mask.push_back(d == 0 ? 0 : 1);
            break;
        case masking::alternate:
            mask.push_back(d % 2 == 0 ? -5 : 0);
            break;
        default:
            mask.push_back(kind == masking::all_in ? 7 : 0);
        }
    }
    return mask;
}

template <typename T>
host_dataset<T> make(const recipe& r) {
    std::mt19937 random(r.seed);
    host_dataset<T> data;
    data.n_dims = r.n_dims;
    data.n_observations = r.n_observations;
    for (std::size_t d = 0; d < r.n_dims; ++d) {
        for (std::size_t i = 0; i < r.n_observations; ++i) {
            data.values.push_back(r.integers ? T(std::uniform_int_distribution<int>(-3, 3)(random))
                                             : clustered<T>(random, i));
        }
        if (r.own_mean) {
            data.mean.push_back(r.integers ? T(d % 3) - 1 : T(0.25) + T(d % 5) / 16);
        }
    }
    data.weights = make_weights<T>(r, random);
    data.mask = make_mask(r.mask, r.n_dims);
    return data;
}

} // namespace test
