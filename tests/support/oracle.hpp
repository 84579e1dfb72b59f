#pragma once

#include "host_dataset.hpp"

#include <cmath>

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
          g_(depth(data.n_observations, wg) * u) {
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            const real w = data.weight(i);
            w_ += w;
            w2_ += w * w;
            real power = w;
            for (int k = 1; k <= 4; ++k) {
                power *= data.at(d, i);
                raw_[k] += power;
                size_[k] += absolute(power);
            }
        }
        center_ = own_mean_ ? real(data.mean[d]) : raw_[1] / w_;
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            const real e = data.at(d, i) - center_;
            real power = data.weight(i);
            for (int k = 1; k <= 4; ++k) {
                power *= e;
                central_[k] += power;
                deviation_[k] += absolute(power);
            }
        }
    }

    answer raw_sum(int k) const { return {raw_[k], g_ * size_[k]}; }
    answer raw_moment(int k) const {
        return {raw_[k] / w_, g_ * size_[k] / w_ + absolute(raw_[k] / w_) * gw()};
    }
    answer central_sum(int k) const { return {central_[k], central_bound(k)}; }

    answer central_moment(int k) const {
        const real factor = k == 2 ? w_ / (w_ * w_ - w2_) : 1 / w_;
        const real value = central_[k] * factor;
        return {value, central_bound(k) * factor + absolute(value) * (k == 2 ? factor_error() : gw())};
    }

    answer variation() const {
        const real value = square_root(central_moment(2).value) / center_;
        return {value, absolute(value) * (variance_error() / 2 + center_error() / absolute(center_) + 4 * u)};
    }

    answer skewness() const {
        const real v = central_moment(2).value;
        const real scale = w_ * square_root(v * v * v);
        const real value = central_[3] / scale;
        return {value, central_bound(3) / scale + absolute(value) * (gw() + 2 * variance_error() + 8 * u)};
    }

    answer kurtosis() const {
        const real v = central_moment(2).value;
        const real scale = w_ * v * v;
        const real quotient = central_[4] / scale;
        return {quotient - 3,
                central_bound(4) / scale + quotient * (gw() + 3 * variance_error() + 8 * u) + 3 * u};
    }

    /// Relative error that the variance may have; the shapes' bounds mean something while it is small.
    real variance_error() const { return central_bound(2) / central_[2] + factor_error(); }

private:
    static constexpr real u = std::numeric_limits<T>::epsilon();

    static real depth(std::size_t row, std::size_t wg) {
        std::size_t additions = 16;
        for (; row > 1; row = (row + wg - 1) / wg) {
            additions += std::min(row, wg);
        }
        return static_cast<long double>(additions);
    }

    real gw() const { return (weighted_ ? g_ : u) + 2 * u; }
    real factor_error() const { return gw() + (2 * gw() * w_ * w_ + gw() * w2_) / (w_ * w_ - w2_) + 2 * u; }
    real center_error() const { return own_mean_ ? real(0) : raw_moment(1).bound + u * absolute(center_); }

    /// Expansion about the computed mean m; what m's own error does is of first order from order 3 on.
    real central_bound(int k) const {
        if (own_mean_) {
            return g_ * deviation_[k];
        }
        const real m = absolute(center_);
        const real dm = center_error();
        const real gs = g_ + gw();
        switch (k) {
        case 2:
            return gs * (size_[2] + 2 * m * size_[1] + w_ * m * m) + w_ * dm * dm;
        case 3:
            return gs * (size_[3] + 3 * m * size_[2] + 3 * m * m * size_[1] + w_ * m * m * m) +
                   4 * central_[2] * dm;
        default:
            return gs * (size_[4] + 4 * m * size_[3] + 6 * m * m * size_[2] + 4 * m * m * m * size_[1] +
                         w_ * m * m * m * m) +
                   5 * absolute(central_[3]) * dm + 7 * central_[2] * dm * dm;
        }
    }

    bool weighted_;
    bool own_mean_;
    real g_;
    real w_ = 0;
    real w2_ = 0;
    real center_ = 0;
    real raw_[5] = {};
    real size_[5] = {};
    real central_[5] = {};
    real deviation_[5] = {};
};

} // namespace test
