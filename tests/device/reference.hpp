#pragma once

#include "support/devices.hpp"
#include "support/run.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

// What estimates are, bit for bit, in the promised order of operations. The device decides on the order of addition: groups
// of two leave it no choice, and sums of small integers are exact in any.

namespace test {

/// Bitwise, but a NaN equals any other.
template <typename T>
bool same_bits(T a, T b) {
    using bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<bits>(a) == std::bit_cast<bits>(b) || (std::isnan(a) && std::isnan(b));
}

inline bool knows_integers_only(const sycl::device& device) {
    return limit_of(device) > 2;
}

template <typename T>
struct reference {
    T s1, s2, s3, s4, w, w2; ///< sums of the first four powers, of weights and of their squares
    T c2, c3, c4;            ///< central sums: by expansion, or about the caller's mean
    T m;                     ///< mean, or the caller's
    T low, high;

    reference(const host_dataset<T>& data, std::size_t d)
        : s1(sum(data, d, 1, 0)), s2(sum(data, d, 2, 0)), s3(sum(data, d, 3, 0)), s4(sum(data, d, 4, 0)),
          w(sum(data, d, 0, 0)), w2(sum_of_square_weights(data)) {
        const auto row = data.values.begin() + static_cast<std::ptrdiff_t>(d * data.n_observations);
        const auto [least, most] =
            std::minmax_element(row, row + static_cast<std::ptrdiff_t>(data.n_observations));
        low = *least;
        high = *most;
        if (data.mean.empty()) {
            m = s1 / w;
            expand();
        } else {
            m = data.mean[d];
            c2 = sum(data, d, 2, m);
            c3 = sum(data, d, 3, m);
            c4 = sum(data, d, 4, m);
        }
    }

    T extreme(int k) const { return k == 0 ? low : high; }
    T raw_sum(int k) const { return k == 1 ? s1 : k == 2 ? s2 : k == 3 ? s3 : s4; }
    T raw_moment(int k) const { return raw_sum(k) / w; }
    T central_sum(int k) const { return k == 2 ? c2 : k == 3 ? c3 : c4; }
    T central_moment(int k) const { return k == 2 ? variance() : central_sum(k) / w; }
    T variance() const { return c2 * (w / mad(w, w, -w2)); }
    T variation() const { return std::sqrt(variance()) / m; }
    T skewness() const { return (c3 / w) / std::sqrt((variance() * variance()) * variance()); }
    T kurtosis() const { return ((c4 / w) / (variance() * variance())) + -3; }

private:
    static T mad(T a, T b, T c) {
        const T product = a * b;
        return product + c;
    }

    void expand() {
        const T p = w * m;
        const T t = m * 3;
        const T q = m * -4;
        c2 = mad(p, m, mad(m * -2, s1, s2));
        c3 = mad(m * -p, m, mad(t * m, s1, mad(-t, s2, s3)));
        c4 = mad((p * m) * m, m, mad((m * q) * m, s1, mad((s2 * 6) * m, m, mad(q, s3, s4))));
    }

    /// The sum of the weights times the power \p k of the distance from \p center, multiplied from the weight on.
    static T sum(const host_dataset<T>& data, std::size_t d, int k, T center) {
        std::vector<T> terms;
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            const T x = data.at(d, i) - center;
            T term = data.weight(i);
            for (int j = 0; j < k; ++j) {
                term *= x;
            }
            terms.push_back(term);
        }
        return sum_of_pairs(terms);
    }

    static T sum_of_square_weights(const host_dataset<T>& data) {
        std::vector<T> squares;
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            squares.push_back(data.weight(i) * data.weight(i));
        }
        return sum_of_pairs(squares);
    }

    /// As groups of two work-items add: neighbours, and then the neighbours among the sums.
    static T sum_of_pairs(std::vector<T> row) {
        while (row.size() > 1) {
            for (std::size_t i = 0; 2 * i < row.size(); ++i) {
                row[i] = row[2 * i] + (2 * i + 1 < row.size() ? row[2 * i + 1] : T(0));
            }
            row.resize((row.size() + 1) / 2);
        }
        return row.front();
    }
};

/// Whether a result is, to the last bit, the expected one; of masked dimensions, as it was.
template <typename T>
void expect_bits(T got, T expected, bool computed) {
    const T wanted = computed ? expected : untouched<T>;
    EXPECT_TRUE(same_bits(got, wanted)) << got << " instead of " << wanted;
}

template <typename T>
std::vector<reference<T>> references_of(const host_dataset<T>& data) {
    std::vector<reference<T>> all;
    for (std::size_t d = 0; d < data.n_dims; ++d) {
        all.emplace_back(data, d);
    }
    return all;
}

} // namespace test
