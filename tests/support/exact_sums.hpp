#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace test {

__extension__ typedef __float128 real;

inline real absolute(real x) {
    return x < 0 ? -x : x;
}

inline real square_root(real x) {
    real root = std::sqrt(static_cast<long double>(x));
    for (int i = 0; i < 2 && root != 0; ++i) {
        root = (root + x / root) / 2;
    }
    return root;
}

/// Sums of one dimension, exact as far as 113 bits go: two passes, the second about the mean or a given center. What
/// stands beside a sum adds up absolute values. It asks `value(i)` and `weight(i)`.
struct exact_sums {
    real weight = 0, square_weight = 0, center = 0;
    real raw[5] = {}, size[5] = {}, central[5] = {}, deviation[5] = {};
    real low = std::numeric_limits<double>::max(), high = -low;

    template <typename Value, typename Weight>
    exact_sums(std::size_t n, const Value& value, const Weight& weight_of, const real* about = nullptr) {
        for (std::size_t i = 0; i < n; ++i) {
            const real w = weight_of(i);
            weight += w;
            square_weight += w * w;
            add_powers(value(i), w, raw, size);
            low = std::min(low, real(value(i)));
            high = std::max(high, real(value(i)));
        }
        center = about ? *about : raw[1] / weight;
        for (std::size_t i = 0; i < n; ++i) {
            add_powers(value(i) - center, weight_of(i), central, deviation);
        }
    }

    /// What the sum of squared deviations is multiplied with for the corrected variance.
    real variance_factor() const { return weight / (weight * weight - square_weight); }

private:
    static void add_powers(real x, real power, real* sums, real* sizes) {
        for (int k = 1; k <= 4; ++k) {
            power *= x;
            sums[k] += power;
            sizes[k] += absolute(power);
        }
    }
};

} // namespace test
