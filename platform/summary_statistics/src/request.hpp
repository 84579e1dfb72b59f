// What one compute call has to find out: which sums of powers, to which order, about what.
#ifndef TSB_SRC_REQUEST_HPP
#define TSB_SRC_REQUEST_HPP

namespace tsb {

/// \brief The statistics that a set of estimates needs.
struct request {
    int central = 0;       ///< highest order of the sums about the mean: 0 none, 1 the mean alone, up to 4
    int raw = 0;           ///< highest order of the sums about zero, 0 to 4
    bool extremes = false; ///< minimum and maximum
    bool about = false;    ///< the sums of `central` are about the caller's mean, which is no statistic

    /// The mean and the raw sums come from one kernel, because the raw moments always ask for both.
    bool mean_beside_raw() const { return !about && central == 1 && raw >= 2; }
};

} // namespace tsb

#endif
