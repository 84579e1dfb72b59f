// Drives a library that has no threads of its own: one OpenMP thread per slice of the observations, sums merged. The
// passes are those of its own users: the mean first, then the sums about it.
#ifndef BENCHMARKS_PEERS_THREADED_HPP
#define BENCHMARKS_PEERS_THREADED_HPP

#include "totals.hpp"

#include <algorithm>
#include <omp.h>

namespace peers {

/// \brief Some observations as rows of \p dims values; a slice of a contiguous dimension is a slice of one value a row.
template <class T>
struct slice {
    const T* data;
    const T* weights; ///< one per row, or null
    std::int64_t dims;
    std::int64_t rows;
};

/// \brief Calls `visit(slice, first dimension)` for the share of one thread, in blocks of at most \p block elements.
template <class T, class Visit>
void for_each_slice(const matrix<T>& m, int thread, int threads, std::int64_t block, Visit&& visit) {
    const std::int64_t first = m.observations * thread / threads;
    const std::int64_t last = m.observations * (thread + 1) / threads;
    const std::int64_t width = m.by_dimension ? 1 : m.dims;
    const std::int64_t rows = std::max<std::int64_t>(block / width, 1);
    for (std::int64_t d = 0; d < m.dims; d += width) {
        for (std::int64_t i = first; i < last; i += rows) {
            const T* weights = m.weights ? m.weights + i : nullptr;
            visit(slice<T>{&m.at(d, i), weights, width, std::min(rows, last - i)}, d);
        }
    }
}

/// \brief Calls `pass(slice, first dimension, sums of this thread)` in every thread of a team, and merges the sums.
template <class T, class Pass>
void run_pass(const matrix<T>& m, int threads, std::int64_t block, totals<double>& t, Pass&& pass) {
#pragma omp parallel num_threads(threads)
    {
        totals<double> mine(m.dims);
        mine.mean = t.mean;
        for_each_slice(m, omp_get_thread_num(), omp_get_num_threads(), block,
                       [&](const slice<T>& s, std::int64_t d) { pass(s, d, mine); });
#pragma omp critical
        for (std::size_t d = 0; d < static_cast<std::size_t>(m.dims); ++d) {
            for (int k = 1; k <= 4; ++k) {
                t.central[k][d] += mine.central[k][d];
                t.raw[k][d] += mine.raw[k][d];
            }
            t.min[d] = std::min(t.min[d], mine.min[d]);
            t.max[d] = std::max(t.max[d], mine.max[d]);
        }
    }
}

/// \brief Sums that a kernel adds to, for the dimensions of one slice; entries of orders not wanted are not touched.
struct order_sums {
    double* order[5] = {};

    order_sums() = default;
    order_sums(std::array<std::vector<double>, 5>& sums, std::int64_t first) {
        for (int k = 1; k <= 4; ++k) {
            order[k] = sums[k].data() + first;
        }
    }
};

/// \brief Computes what an estimate needs with the primitives of \p Library, a class of static templates
/// `sum`, `central<orders>`, `raw<orders>`, `extremes` and `weight_sums` over slices, and its block size.
template <class Library, class T, estimate E>
void compute_totals(const matrix<T>& m, int threads, totals<double>& t) {
    constexpr needs need = needs::of(E);
    const std::int64_t block = Library::block_elements;
    t.weight = t.weight2 = static_cast<double>(m.observations);
    if (m.weights && !need.extremes) {
        Library::weight_sums(m.weights, m.observations, threads, t.weight, t.weight2);
    }
    if constexpr (need.extremes) {
        run_pass(m, threads, block, t, [](const slice<T>& s, std::int64_t d, totals<double>& mine) {
            Library::extremes(s, mine.min.data() + d, mine.max.data() + d);
        });
    }
    if constexpr (need.raw != 0) {
        run_pass(m, threads, block, t, [](const slice<T>& s, std::int64_t d, totals<double>& mine) {
            Library::template raw<need.raw>(s, order_sums(mine.raw, d));
        });
    }
    if constexpr (need.mean) {
        run_pass(m, threads, block, t, [](const slice<T>& s, std::int64_t d, totals<double>& mine) {
            Library::sum(s, mine.raw[1].data() + d);
        });
        for (std::size_t d = 0; d < t.mean.size(); ++d) {
            t.mean[d] = t.raw[1][d] / t.weight;
        }
    }
    if constexpr (need.central != 0) {
        run_pass(m, threads, block, t, [](const slice<T>& s, std::int64_t d, totals<double>& mine) {
            Library::template central<need.central>(s, mine.mean.data() + d, order_sums(mine.central, d));
        });
    }
}

/// \brief Makes the job of a library out of its primitives.
template <class Library, class T>
job threaded_job(estimate e, const matrix<T>& m, int threads, double* out) {
    const auto make = [&]<estimate E>() -> job {
        return [m, threads, out] {
            totals<double> t(m.dims);
            compute_totals<Library, T, E>(m, threads, t);
            finish_all(E, t, out);
        };
    };
    switch (e) {
    case estimate::kurtosis:
        return make.template operator()<estimate::kurtosis>();
    case estimate::skewness:
        return make.template operator()<estimate::skewness>();
    case estimate::variation:
        return make.template operator()<estimate::variation>();
    case estimate::mean:
        return make.template operator()<estimate::mean>();
    case estimate::central_sum:
        return make.template operator()<estimate::central_sum>();
    case estimate::central_moment:
        return make.template operator()<estimate::central_moment>();
    case estimate::raw_sum:
        return make.template operator()<estimate::raw_sum>();
    case estimate::raw_moment:
        return make.template operator()<estimate::raw_moment>();
    case estimate::min_max:
        return make.template operator()<estimate::min_max>();
    }
    return {};
}

/// \brief Sum of the weights and of their squares by a team of threads, as a plain loop: the same for every library.
template <class T>
void plain_weight_sums(const T* weights, std::int64_t n, int threads, double& sum, double& squares) {
    double s = 0, q = 0;
#pragma omp parallel for simd num_threads(threads) reduction(+ : s, q) schedule(static)
    for (std::int64_t i = 0; i < n; ++i) {
        const double w = weights[i];
        s += w;
        q += w * w;
    }
    sum = s;
    squares = q;
}

} // namespace peers

#endif
