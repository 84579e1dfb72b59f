// The statistics of a range of observations, for a run of adjacent dimensions: the value that blocks, units
// and the final result share.
#ifndef TSB_SRC_TOTALS_HPP
#define TSB_SRC_TOTALS_HPP

#include "request.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tsb {

/// \brief A view on rows of `pitch` doubles, one element per dimension; copying copies the view.
///
/// Means and plain sums are unevaluated pairs: a mean rounded early costs skewness its digits, and the low
/// part of a sum keeps what the additions of blocks round away.
struct totals {
    enum row : int {
        weight, ///< W and W2, which are the same for all dimensions, and the low parts of both
        mean_high,
        mean_low,
        central2,
        central3,
        central4,
        sum_high,
        sum_low = sum_high + 4,
        lowest = sum_low + 4,
        highest,
        n_rows
    };

    double* base;
    std::int64_t pitch;

    double* operator[](int r) const { return base + r * pitch; }
    double w() const { return base[0] + base[2]; }
    double w2() const { return base[1] + base[3]; }
    void add_weight(double first, double second) const {
        add_exactly(base[0], base[2], first);
        add_exactly(base[1], base[3], second);
    }
    void add_weight(const totals& other) const {
        add_weight(other.base[0], other.base[1]);
        base[2] += other.base[2];
        base[3] += other.base[3];
    }

    static std::int64_t size(std::int64_t pitch) { return n_rows * pitch; }

    void set_identity(const request& wanted, double bound) const {
        auto fill = [this](int first, int end, double value) {
            std::fill(base + first * pitch, base + end * pitch, value);
        };
        std::fill(base, base + 4, 0.0);
        if (wanted.central && !wanted.about) {
            fill(mean_high, sum_high, 0);
        }
        if (wanted.raw || wanted.about) {
            fill(sum_high, lowest, 0);
        }
        if (wanted.extremes) {
            fill(lowest, highest, bound);
            fill(highest, n_rows, -bound);
        }
    }

private:
    /// high += x, with what the rounding loses added to low.
    static void add_exactly(double& high, double& low, double x) {
        const double sum = high + x;
        const double part = sum - high;
        low += std::isfinite(sum) ? (high - (sum - part)) + (x - part) : 0;
        high = sum;
    }
};

} // namespace tsb

#endif
