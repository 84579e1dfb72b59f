#pragma once

#include "exact_sums.hpp"
#include "host_dataset.hpp"

namespace test {

/// The exact answer, as far as 113 bits go, and how far a result may be from it.
struct answer {
    real value;
    real bound;
};

/**
 * Sums of one dimension in extended precision, two passes about the mean, and the errors that arithmetic in T
 * may make: g bounds the relative error of a sum of products, by the number of additions on the way of an
 * element through the groups of a plan and the few operations around them.
 */
template <typename T>
class oracle {
public:
    oracle(const host_dataset<T>& data, std::size_t d, std::size_t wg)
        : weighted_(!data.weights.empty()), own_mean_(!data.mean.empty()),
          g_(depth(data.n_observations, wg) * u), s_(sums_of(data, d)) {}

    /// Minimum and maximum.
    answer extreme(int k) const { return {k == 0 ? s_.low : s_.high, 0}; }
    answer raw_sum(int k) const { return {s_.raw[k], g_ * s_.size[k]}; }
    answer raw_moment(int k) const {
        const real value = s_.raw[k] / s_.weight;
        return {value, g_ * s_.size[k] / s_.weight + absolute(value) * gw()};
    }
    answer central_sum(int k) const { return {s_.central[k], central_bound(k)}; }

    answer central_moment(int k) const {
        const real factor = k == 2 ? s_.variance_factor() : 1 / s_.weight;
        const real value = s_.central[k] * factor;
        return {value, central_bound(k) * factor + absolute(value) * (k == 2 ? factor_error() : gw())};
    }

    answer variation() const {
        const real value = square_root(central_moment(2).value) / s_.center;
        return {value,
                absolute(value) * (variance_error() / 2 + center_error() / absolute(s_.center) + 4 * u)};
    }

    answer skewness() const {
        const real v = central_moment(2).value;
        const real scale = s_.weight * square_root(v * v * v);
        const real value = s_.central[3] / scale;
        return {value, central_bound(3) / scale + absolute(value) * (gw() + 2 * variance_error() + 8 * u)};
    }

    answer kurtosis() const {
        const real v = central_moment(2).value;
        const real scale = s_.weight * v * v;
        const real quotient = s_.central[4] / scale;
        return {quotient - 3,
                central_bound(4) / scale + quotient * (gw() + 3 * variance_error() + 8 * u) + 3 * u};
    }

    /// Relative error that the variance may have; the shapes' bounds mean something while it is small.
    real variance_error() const { return central_bound(2) / s_.central[2] + factor_error(); }

private:
    static constexpr real u = std::numeric_limits<T>::epsilon();

    static exact_sums sums_of(const host_dataset<T>& data, std::size_t d) {
        const real own = data.mean.empty() ? T(0) : data.mean[d];
        return {data.n_observations, [&](std::size_t i) { return data.at(d, i); },
                [&](std::size_t i) { return data.weight(i); }, data.mean.empty() ? nullptr : &own};
    }

    static real depth(std::size_t row, std::size_t wg) {
        std::size_t additions = 16;
        for (; row > 1; row = (row + wg - 1) / wg) {
            additions += std::min(row, wg);
        }
        return static_cast<long double>(additions);
    }

    real gw() const { return (weighted_ ? g_ : u) + 2 * u; }
    real factor_error() const {
        const real squared = s_.weight * s_.weight;
        return gw() + gw() * (2 * squared + s_.square_weight) / (squared - s_.square_weight) + 2 * u;
    }
    real center_error() const { return own_mean_ ? real(0) : raw_moment(1).bound + u * absolute(s_.center); }

    /// Expansion about the computed mean m; what m's own error does is of first order from order 3 on.
    real central_bound(int k) const {
        if (own_mean_) {
            return g_ * s_.deviation[k];
        }
        const auto& size = s_.size;
        const real m = absolute(s_.center);
        const real dm = center_error();
        const real gs = g_ + gw();
        switch (k) {
        case 2:
            return gs * (size[2] + 2 * m * size[1] + s_.weight * m * m) + s_.weight * dm * dm;
        case 3:
            return gs * (size[3] + 3 * m * size[2] + 3 * m * m * size[1] + s_.weight * m * m * m) +
                   4 * s_.central[2] * dm;
        default:
            return gs * (size[4] + 4 * m * size[3] + 6 * m * m * size[2] + 4 * m * m * m * size[1] +
                         s_.weight * m * m * m * m) +
                   5 * absolute(s_.central[3]) * dm + 7 * s_.central[2] * dm * dm;
        }
    }

    bool weighted_;
    bool own_mean_;
    real g_;
    exact_sums s_;
};

} // namespace test
