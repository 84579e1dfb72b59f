#include "libraries.hpp"
#include "threaded.hpp"

#include <boost/accumulators/accumulators.hpp>
#include <boost/accumulators/statistics/max.hpp>
#include <boost/accumulators/statistics/min.hpp>
#include <boost/accumulators/statistics/moment.hpp>
#include <boost/accumulators/statistics/stats.hpp>
#include <boost/accumulators/statistics/sum.hpp>
#include <boost/accumulators/statistics/weighted_moment.hpp>
#include <boost/accumulators/statistics/weighted_sum.hpp>

namespace peers {
namespace {

namespace ba = boost::accumulators;

template <int K>
using moments_up_to = std::conditional_t<
    K == 1, ba::stats<ba::tag::moment<1>>,
    std::conditional_t<
        K == 2, ba::stats<ba::tag::moment<1>, ba::tag::moment<2>>,
        std::conditional_t<
            K == 3, ba::stats<ba::tag::moment<1>, ba::tag::moment<2>, ba::tag::moment<3>>,
            ba::stats<ba::tag::moment<1>, ba::tag::moment<2>, ba::tag::moment<3>, ba::tag::moment<4>>>>>;

/// \brief Pushes a slice into one set of accumulators per dimension, and gives each to `merge(set, dimension)`.
template <class Set, class T, class Merge>
void accumulate_slice(const slice<T>& s, Merge&& merge) {
    const auto dims = static_cast<std::size_t>(s.dims);
    std::vector<Set> sets(dims);
    const T* x = s.data;
    for (std::int64_t i = 0; i < s.rows; ++i, x += dims) {
        for (std::size_t d = 0; d < dims; ++d) {
            if constexpr (std::is_void_v<typename Set::weight_type>) {
                sets[d](static_cast<double>(x[d]));
            } else {
                sets[d](static_cast<double>(x[d]), ba::weight = static_cast<double>(s.weights[i]));
            }
        }
    }
    for (std::size_t d = 0; d < dims; ++d) {
        merge(sets[d], d);
    }
}

/// \brief One pass of raw moments, of which the library's own variance, skewness and kurtosis are made too.
struct library {
    static constexpr std::int64_t block_elements = std::int64_t(1) << 40;

    template <int K, class T>
    static void moments(const slice<T>& s, double weight, const order_sums& out) {
        const auto merge = [&](const auto& set, std::size_t d) {
            out.order[1][d] += weight * ba::moment<1>(set);
            if constexpr (K >= 2) {
                out.order[2][d] += weight * ba::moment<2>(set);
            }
            if constexpr (K >= 3) {
                out.order[3][d] += weight * ba::moment<3>(set);
            }
            if constexpr (K >= 4) {
                out.order[4][d] += weight * ba::moment<4>(set);
            }
        };
        if (s.weights) {
            accumulate_slice<ba::accumulator_set<double, moments_up_to<K>, double>>(s, merge);
        } else {
            accumulate_slice<ba::accumulator_set<double, moments_up_to<K>>>(s, merge);
        }
    }

    template <class T>
    static void extremes(const slice<T>& s, double* min, double* max) {
        using set = ba::accumulator_set<T, ba::stats<ba::tag::min, ba::tag::max>>;
        accumulate_slice<set>(s, [&](const set& a, std::size_t d) {
            min[d] = std::min(min[d], static_cast<double>(ba::min(a)));
            max[d] = std::max(max[d], static_cast<double>(ba::max(a)));
        });
    }

    template <class T>
    static double slice_weight(const slice<T>& s) {
        if (!s.weights) {
            return static_cast<double>(s.rows);
        }
        double sum = 0;
#pragma omp simd reduction(+ : sum)
        for (std::int64_t i = 0; i < s.rows; ++i) {
            sum += static_cast<double>(s.weights[i]);
        }
        return sum;
    }
};

constexpr int highest_order(needs need) {
    for (int k = 4; k > 1; --k) {
        if ((need.central | need.raw) & 1u << k) {
            return k;
        }
    }
    return 1;
}

/// \brief Central sums out of the raw ones, as the library's extractors do it.
void expand(totals<double>& t) {
    for (std::size_t d = 0; d < t.mean.size(); ++d) {
        const double m = t.raw[1][d] / t.weight, m2 = t.raw[2][d] / t.weight, m3 = t.raw[3][d] / t.weight,
                     m4 = t.raw[4][d] / t.weight;
        t.mean[d] = m;
        t.central[2][d] = t.weight * (m2 - m * m);
        t.central[3][d] = t.weight * (m3 - 3 * m2 * m + 2 * m * m * m);
        t.central[4][d] = t.weight * (m4 - 4 * m3 * m + 6 * m2 * m * m - 3 * m * m * m * m);
    }
}

template <int K, class T>
void compute(estimate e, const matrix<T>& m, int threads, double* out) {
    totals<double> t(m.dims);
    t.weight = t.weight2 = static_cast<double>(m.observations);
    const bool extremes = e == estimate::min_max;
    if (m.weights && !extremes) {
        plain_weight_sums(m.weights, m.observations, threads, t.weight, t.weight2);
    }
    run_pass(m, threads, library::block_elements, t,
             [&](const slice<T>& s, std::int64_t d, totals<double>& mine) {
                 if (extremes) {
                     library::extremes(s, mine.min.data() + d, mine.max.data() + d);
                 } else {
                     library::moments<K>(s, library::slice_weight(s), order_sums(mine.raw, d));
                 }
             });
    expand(t);
    finish_all(e, t, out);
}

} // namespace

template <class T>
job boost_accumulators(estimate e, const matrix<T>& m, int threads, double* out) {
    switch (highest_order(needs::of(e))) {
    case 1:
        return [=] { compute<1>(e, m, threads, out); };
    case 2:
        return [=] { compute<2>(e, m, threads, out); };
    case 3:
        return [=] { compute<3>(e, m, threads, out); };
    default:
        return [=] { compute<4>(e, m, threads, out); };
    }
}

template job boost_accumulators(estimate, const matrix<float>&, int, double*);
template job boost_accumulators(estimate, const matrix<double>&, int, double*);

} // namespace peers
