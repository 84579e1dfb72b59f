/**
 * \file partial.hpp
 * \brief Statistics of a part of the observations, as a value that merges with that of another part.
 *
 * make_partials.hpp makes such values of a dataset; they can then be sent, stored and merged anywhere: chunks of
 * a file, queues on several devices, ranks of a distributed program. This header needs no SYCL.
 */
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace aurelo::qtx::stats {

/**
 * \brief Everything that the estimates of one dimension need to know of some of its observations.
 *
 * A plain record of one integer and thirteen doubles, whatever the element type of the data: it can be copied
 * byte by byte between processes of the same machine type. A value-initialised record is the identity of
 * merge(): no observations.
 *
 * The mean is the unevaluated sum of two doubles. Differences of means are what a merge works on, and a mean of
 * 1e9 that is rounded to one double hides the differences of chunks whose deviation is 1.
 */
struct partial {
    std::int64_t count = 0;     /**< observations */
    double weight = 0;          /**< sum of the weights; `count` without weights */
    double square_weight = 0;   /**< sum of their squares; `count` without weights */
    double mean = 0;            /**< weighted mean, rounded */
    double mean_low = 0;        /**< what the rounding of the mean left; 0 if the mean is not finite */
    double central_sum[3] = {}; /**< sums of w * (x - mean)^k, order k at k - 2 */
    double raw_sum[4] = {};     /**< sums of w * x^k, order k at k - 1 */
    double min = std::numeric_limits<double>::max();    /**< as min(): NaN is passed over */
    double max = std::numeric_limits<double>::lowest(); /**< as max() */
};

static_assert(std::is_trivially_copyable_v<partial> && std::is_standard_layout_v<partial>);

namespace detail {

/** \brief A total order of finite means, so that the sides of a merge have one order. */
inline bool mean_below(const partial& a, const partial& b) {
    return a.mean < b.mean || (a.mean == b.mean && a.mean_low < b.mean_low);
}

inline bool lighter(const partial& a, const partial& b) {
    return a.weight < b.weight || (a.weight == b.weight && mean_below(a, b));
}

/** \brief Stores `high + low` as a rounded mean and its rest; `low` is small against `high` or both are near. */
inline void set_mean(partial& p, double high, double low) {
    p.mean = high + low;
    const double rounded = p.mean - high;
    const double rest = (high - (p.mean - rounded)) + (low - rounded);
    p.mean_low = std::isfinite(p.mean) ? rest : 0;
}

/**
 * \brief Central sums of two sides whose means differ by `delta`; `fa` and `fb` are the sides' shares of the
 * weight, `pair` is their product times the total weight.
 */
inline void merge_central(partial& r, const partial& a, const partial& b, double delta, double fa, double fb,
                          double pair) {
    const double square = delta * delta;
    const double* const ca = a.central_sum;
    const double* const cb = b.central_sum;
    r.central_sum[0] = ca[0] + cb[0] + pair * square;
    r.central_sum[1] = ca[1] + cb[1] + delta * (pair * square * (fa - fb) + 3 * (fa * cb[0] - fb * ca[0]));
    r.central_sum[2] =
        ca[2] + cb[2] +
        square * (pair * square * (fa * fa - fa * fb + fb * fb) + 6 * (fa * fa * cb[0] + fb * fb * ca[0])) +
        4 * delta * (fa * cb[1] - fb * ca[1]);
}

} // namespace detail

/**
 * \brief The statistics of both sides' observations together.
 *
 * Central sums follow the pairwise update formulas of P. Pebay, "Formulas for robust, one-pass parallel
 * computation of covariances and arbitrary-order statistical moments", Sandia Report SAND2008-6212, 2008, with
 * weights in the place of counts. Merging with the identity gives the other side bit by bit; the order of the
 * two sides does not matter, bit by bit, while their means are finite; how several merges are nested matters up
 * to rounding.
 *
 * With u = 2^-53, M_k the sum of w * |x - mean|^k over all observations, and merges nested h deep, the merges
 * add at most 24 * h * u * M_2 to the error of the central sum of order 2, 30 * h^(3/2) * u * 5^k * M_k to
 * those of order 3 and 4, 6 * h * u * M_1 / W to that of the mean (and the rounding of its two halves), and
 * h * u times the sum of w * |x|^k to those of the raw sums: to first order in u, and as long as u * |mean| is
 * small against the deviation. `docs/scale.md` derives it; what is seen is far less.
 *
 * Infinities and NaN act as in the data themselves: a side with an infinite mean makes the mean infinite (NaN
 * against the opposite infinity), and the central sums NaN.
 */
inline partial merge(const partial& one, const partial& other) {
    if (one.count == 0) {
        return other;
    }
    if (other.count == 0) {
        return one;
    }
    // The mean moves from the heavier side on: the smaller the step, the smaller its rounding.
    const bool swapped = detail::lighter(one, other);
    const partial& a = swapped ? other : one;
    const partial& b = swapped ? one : other;
    const double weight = a.weight + b.weight;
    const double fa = a.weight / weight;
    const double fb = b.weight / weight;
    const double delta = (b.mean - a.mean) + (b.mean_low - a.mean_low);

    partial r;
    r.count = a.count + b.count;
    r.weight = weight;
    r.square_weight = a.square_weight + b.square_weight;
    if (std::isfinite(delta)) {
        detail::set_mean(r, a.mean, a.mean_low + delta * fb);
    } else {
        r.mean = a.mean * fa + b.mean * fb;
    }
    detail::merge_central(r, a, b, delta, fa, fb, a.weight * fb);
    for (int k = 0; k < 4; ++k) {
        r.raw_sum[k] = a.raw_sum[k] + b.raw_sum[k];
    }
    r.min = b.min < a.min ? b.min : a.min;
    r.max = b.max > a.max ? b.max : a.max;
    return r;
}

/** \brief All estimates of one dimension. Members of several orders begin with the lowest one. */
struct partial_estimates {
    double min;            /**< smallest value */
    double max;            /**< largest value */
    double mean;           /**< weighted mean */
    double raw_sum[4];     /**< orders 1 to 4 */
    double raw_moment[4];  /**< orders 1 to 4; the first is sum / W, which may differ from mean by rounding */
    double central_sum[3]; /**< orders 2 to 4 */
    double central_moment[3]; /**< orders 2 to 4 */
    double variation;         /**< standard deviation over mean */
    double skewness;          /**< third central moment in units of the deviation */
    double kurtosis;          /**< excess kurtosis */
};

namespace detail {

/** \brief Moments and shape from the central sums about `center`, which stand in `e` already. */
inline void finish_central(partial_estimates& e, const partial& p, double center) {
    const double factor = p.weight / (p.weight * p.weight - p.square_weight);
    const double variance = e.central_sum[0] * factor;
    e.central_moment[0] = variance;
    e.central_moment[1] = e.central_sum[1] / p.weight;
    e.central_moment[2] = e.central_sum[2] / p.weight;
    e.variation = std::sqrt(variance) / center;
    e.skewness = e.central_moment[1] / std::sqrt(variance * variance * variance);
    e.kurtosis = e.central_moment[2] / (variance * variance) - 3;
}

/** \brief Central sums about `center` instead of the mean. */
inline void move_center(partial_estimates& e, const partial& p, double center) {
    const double step = (p.mean - center) + p.mean_low;
    const double square = step * step;
    if (!std::isfinite(p.mean)) {
        // An infinite element is as far from the given center as from 0, and to the same power.
        for (int k = 0; k < 3; ++k) {
            e.central_sum[k] = p.raw_sum[k + 1] + (center - center);
        }
        return;
    }
    if (!std::isfinite(step)) {
        const double powers[3] = {square, square * step, square * square};
        std::copy(powers, powers + 3, e.central_sum);
        return;
    }
    const double* const c = p.central_sum;
    e.central_sum[0] = c[0] + p.weight * square;
    e.central_sum[1] = c[1] + step * (3 * c[0] + p.weight * square);
    e.central_sum[2] = c[2] + step * 4 * c[1] + square * (6 * c[0] + p.weight * square);
}

inline partial_estimates extract_raw(const partial& p) {
    partial_estimates e{};
    e.min = p.min;
    e.max = p.max;
    e.mean = p.count == 0 ? std::numeric_limits<double>::quiet_NaN() : p.mean;
    for (int k = 0; k < 4; ++k) {
        e.raw_sum[k] = p.raw_sum[k];
        e.raw_moment[k] = p.raw_sum[k] / p.weight;
    }
    return e;
}

} // namespace detail

/**
 * \brief Every estimate of the observations that \p p stands for, by the definitions of the estimates' headers.
 *
 * With W and W2 the sums of the weights and of their squares and F = W / (W * W - W2): central moment 2, the
 * variance V, is F times central sum 2, those of order 3 and 4 are divided by W, as raw moments are; variation is
 * sqrt(V) / mean, skewness (central moment 3) / sqrt(V^3), kurtosis (central moment 4) / V^2 - 3. Nothing is
 * tested: one observation, zero variance or no observations at all give what IEEE-754 gives, with NaN for the
 * mean of no observations; their extremes are the largest and the lowest double.
 */
inline partial_estimates extract(const partial& p) {
    partial_estimates e = detail::extract_raw(p);
    for (int k = 0; k < 3; ++k) {
        e.central_sum[k] = p.central_sum[k];
    }
    detail::finish_central(e, p, p.mean);
    return e;
}

/**
 * \brief The same with the estimates about a mean taken about \p center, as the estimates that take a caller's
 * mean do.
 *
 * Central sums are moved from the mean to \p center, which loses no more than 5^k * u of the sum of
 * w * |x - center|^k. Mean, raw estimates and extremes are not affected.
 */
inline partial_estimates extract(const partial& p, double center) {
    partial_estimates e = detail::extract_raw(p);
    detail::move_center(e, p, center);
    detail::finish_central(e, p, center);
    return e;
}

} // namespace aurelo::qtx::stats
