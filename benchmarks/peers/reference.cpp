#include "reference.hpp"

#include <algorithm>

namespace peers {
namespace {

/// \brief Adds \p of(observation, dimension, weight) into one quad per dimension and order, by a team of threads.
template <class T, std::size_t Orders, class Terms>
void add_up(const matrix<T>& m, std::array<std::vector<quad>*, Orders> sums, Terms&& terms) {
    const auto dims = static_cast<std::size_t>(m.dims);
#pragma omp parallel
    {
        std::vector<std::array<quad, Orders>> mine(dims);
#pragma omp for schedule(static)
        for (std::int64_t i = 0; i < m.observations; ++i) {
            for (std::size_t d = 0; d < dims; ++d) {
                terms(mine[d], static_cast<quad>(m.at(static_cast<std::int64_t>(d), i)), i, d);
            }
        }
#pragma omp critical
        for (std::size_t d = 0; d < dims; ++d) {
            for (std::size_t k = 0; k < Orders; ++k) {
                (*sums[k])[d] += mine[d][k];
            }
        }
    }
}

template <class T>
void add_weights(const matrix<T>& m, totals<quad>& t) {
    t.weight = t.weight2 = static_cast<quad>(m.observations);
    if (m.weights) {
        t.weight = t.weight2 = 0;
        for (std::int64_t i = 0; i < m.observations; ++i) {
            const quad w = m.weights[i];
            t.weight += w;
            t.weight2 += w * w;
        }
    }
}

template <class T>
void add_extremes(const matrix<T>& m, totals<quad>& t) {
    for (std::size_t d = 0; d < t.mean.size(); ++d) {
        for (std::int64_t i = 0; i < m.observations; ++i) {
            const double x = m.at(static_cast<std::int64_t>(d), i);
            t.min[d] = std::min(t.min[d], x);
            t.max[d] = std::max(t.max[d], x);
        }
    }
}

template <bool Weighted, class T>
void add_powers(const matrix<T>& m, totals<quad>& t) {
    const auto weight = [&m](std::int64_t i) { return Weighted ? static_cast<quad>(m.weights[i]) : quad(1); };
    add_up<T, 4>(m, {&t.raw[1], &t.raw[2], &t.raw[3], &t.raw[4]},
                 [&](std::array<quad, 4>& sum, quad x, std::int64_t i, std::size_t) {
                     const quad wx = Weighted ? weight(i) * x : x, x2 = x * x;
                     sum[0] += wx;
                     sum[1] += wx * x;
                     sum[2] += wx * x2;
                     sum[3] += wx * x2 * x;
                 });
    for (std::size_t d = 0; d < t.mean.size(); ++d) {
        t.mean[d] = t.raw[1][d] / t.weight;
    }
    add_up<T, 3>(m, {&t.central[2], &t.central[3], &t.central[4]},
                 [&](std::array<quad, 3>& sum, quad x, std::int64_t i, std::size_t d) {
                     const quad y = x - t.mean[d], y2 = y * y, wy2 = Weighted ? weight(i) * y2 : y2;
                     sum[0] += wy2;
                     sum[1] += wy2 * y;
                     sum[2] += wy2 * y2;
                 });
}

} // namespace

template <class T>
totals<quad> reference_totals(const matrix<T>& m) {
    totals<quad> t(m.dims);
    add_weights(m, t);
    add_extremes(m, t);
    if (m.weights) {
        add_powers<true>(m, t);
    } else {
        add_powers<false>(m, t);
    }
    return t;
}

template totals<quad> reference_totals(const matrix<float>&);
template totals<quad> reference_totals(const matrix<double>&);

std::vector<quad> reference_of(estimate e, const totals<quad>& t) {
    std::vector<quad> values(static_cast<std::size_t>(outputs_of(e)) * t.mean.size());
    finish_all(e, t, values.data());
    return values;
}

std::string to_text(quad value) {
    char text[64];
    quadmath_snprintf(text, sizeof text, "%.36Qg", value);
    return text;
}

double digits(double value, quad reference, double scale) {
    constexpr double most = 17;
    if (isnanq(reference) || isinfq(reference)) {
        const auto expected = static_cast<double>(reference);
        return (std::isnan(value) && std::isnan(expected)) || value == expected ? most : 0;
    }
    const quad error = fabsq(static_cast<quad>(value) - reference);
    if (error == 0) {
        return most;
    }
    const quad size = fmaxq(fabsq(reference), static_cast<quad>(scale));
    const auto lost = static_cast<double>(error / size);
    return lost > 0 && std::isfinite(lost) ? std::clamp(-std::log10(lost), 0.0, most) : 0;
}

double digits_of(estimate e, const double* values, const std::vector<quad>& reference, bool is_float) {
    const double scale = e == estimate::kurtosis || e == estimate::skewness ? 1 : 0;
    double worst = 17;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        const double value = is_float ? static_cast<double>(static_cast<float>(values[i])) : values[i];
        worst = std::min(worst, digits(value, reference[i], scale));
    }
    return worst;
}

} // namespace peers
