// The sums that all estimates are made of, and the formulas that make them.
#ifndef BENCHMARKS_PEERS_TOTALS_HPP
#define BENCHMARKS_PEERS_TOTALS_HPP

#include "matrix.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace peers {

/// \brief Which passes over the data an estimate needs.
struct needs {
    bool mean = false;
    unsigned central = 0; ///< bit k: the central sum of order k
    unsigned raw = 0;     ///< bit k: the raw sum of order k
    bool extremes = false;

    static constexpr needs of(estimate e) {
        switch (e) {
        case estimate::kurtosis:
            return {true, 1u << 2 | 1u << 4, 0, false};
        case estimate::skewness:
            return {true, 1u << 2 | 1u << 3, 0, false};
        case estimate::variation:
            return {true, 1u << 2, 0, false};
        case estimate::mean:
            return {true, 0, 0, false};
        case estimate::central_sum:
        case estimate::central_moment:
            return {true, 1u << 2 | 1u << 3 | 1u << 4, 0, false};
        case estimate::raw_sum:
        case estimate::raw_moment:
            return {false, 0, 1u << 1 | 1u << 2 | 1u << 3 | 1u << 4, false};
        case estimate::min_max:
            return {false, 0, 0, true};
        }
        return {};
    }
};

/// \brief Sums of every dimension in arithmetic of type Real.
template <class Real>
struct totals {
    explicit totals(std::int64_t dims) {
        const auto n = static_cast<std::size_t>(dims);
        mean.resize(n);
        for (int k = 1; k <= 4; ++k) {
            central[k].resize(n);
            raw[k].resize(n);
        }
        min.assign(n, std::numeric_limits<double>::infinity());
        max.assign(n, -std::numeric_limits<double>::infinity());
    }

    Real weight = 0;  ///< sum of the weights
    Real weight2 = 0; ///< sum of their squares
    std::vector<Real> mean;
    std::array<std::vector<Real>, 5> central; ///< by order
    std::array<std::vector<Real>, 5> raw;     ///< by order
    std::vector<double> min, max;
};

inline double square_root(double x) {
    return std::sqrt(x);
}

/// \brief Output \p index of estimate \p e for dimension \p d: variances have the corrected denominator, moments of
/// order 3 and 4 the plain one, kurtosis is excess.
template <class Real>
Real finish(estimate e, const totals<Real>& t, std::int64_t index, std::size_t d) {
    const auto order = static_cast<std::size_t>(index);
    const Real variance = t.central[2][d] * t.weight / (t.weight * t.weight - t.weight2);
    switch (e) {
    case estimate::kurtosis:
        return t.central[4][d] / t.weight / (variance * variance) - 3;
    case estimate::skewness:
        return t.central[3][d] / t.weight / (variance * square_root(variance));
    case estimate::variation:
        return square_root(variance) / t.mean[d];
    case estimate::mean:
        return t.mean[d];
    case estimate::central_sum:
        return t.central[order + 2][d];
    case estimate::central_moment:
        return index == 0 ? variance : Real(t.central[order + 2][d] / t.weight);
    case estimate::raw_sum:
        return t.raw[order + 1][d];
    case estimate::raw_moment:
        return t.raw[order + 1][d] / t.weight;
    case estimate::min_max:
        return Real(index == 0 ? t.min[d] : t.max[d]);
    }
    return 0;
}

/// \brief All outputs of an estimate, output by output.
template <class Real, class Store>
void finish_all(estimate e, const totals<Real>& t, Store* out) {
    const std::size_t dims = t.mean.size();
    for (std::int64_t index = 0; index < outputs_of(e); ++index) {
        for (std::size_t d = 0; d < dims; ++d) {
            *out++ = static_cast<Store>(finish(e, t, index, d));
        }
    }
}

} // namespace peers

#endif
