// Exact enough to judge by: sums of the stored values in 113-bit arithmetic, two passes, no tricks.
#ifndef BENCHMARKS_PEERS_REFERENCE_HPP
#define BENCHMARKS_PEERS_REFERENCE_HPP

#include "matrix.hpp"

#include <quadmath.h>
#include <string>
#include <vector>

namespace peers {

__extension__ typedef __float128 quad;

inline quad square_root(quad x) {
    return sqrtq(x);
}

} // namespace peers

#include "totals.hpp"

namespace peers {

/// \brief Every sum that any estimate needs.
template <class T>
totals<quad> reference_totals(const matrix<T>& m);

/// \brief All outputs of an estimate, output by output.
std::vector<quad> reference_of(estimate e, const totals<quad>& t);

/// \brief 36 significant digits, more than the format holds.
std::string to_text(quad value);

/// \brief Number of leading decimal digits on which two values agree, at most 17; 17 for two NaN.
///
/// The error is taken relative to the reference, or to \p scale where that is larger: skewness and kurtosis are
/// differences of terms of about 1, so that next to zero their own size is no measure.
double digits(double value, quad reference, double scale = 0);

/// \brief The worst of all outputs of an estimate; float results are judged as they are stored.
double digits_of(estimate e, const double* values, const std::vector<quad>& reference, bool is_float);

} // namespace peers

#endif
