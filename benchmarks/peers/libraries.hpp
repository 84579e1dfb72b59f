// The other side of the comparison: each library makes the job that computes an estimate its way.
#ifndef BENCHMARKS_PEERS_LIBRARIES_HPP
#define BENCHMARKS_PEERS_LIBRARIES_HPP

#include "matrix.hpp"

namespace peers {

/// \brief Two passes over fixed-size arrays, accumulated in double, by hand.
template <class T>
job eigen_loop(estimate e, const matrix<T>& m, int threads, double* out);

/// \brief Array expressions over blocks that stay in the cache.
template <class T>
job eigen_expressions(estimate e, const matrix<T>& m, int threads, double* out);

template <class T>
job armadillo(estimate e, const matrix<T>& m, int threads, double* out);

template <class T>
job gsl(estimate e, const matrix<T>& m, int threads, double* out);

/// \brief The same with one call per dimension and function, nothing merged.
template <class T>
job gsl_whole(estimate e, const matrix<T>& m, double* out);

template <class T>
job boost_accumulators(estimate e, const matrix<T>& m, int threads, double* out);

} // namespace peers

#endif
