// One unit of work: a chunk of observations of a few panels, walked block by block by one thread.
#ifndef TSB_SRC_UNIT_HPP
#define TSB_SRC_UNIT_HPP

#include "kernels.hpp"
#include "layout.hpp"
#include "problem.hpp"

#include <cstdint>

namespace tsb {

/// \brief What all units of a call share.
struct job {
    const problem& task;
    matrix_layout layout;
    const kernel_table& kernel;
    const data_kernels& data;
    const std::int64_t* weight_offset; ///< per vector of a stripe; null without weights
    const std::int64_t* weight_lane;
    double bound; ///< largest finite value of the element type
};

/// \brief The memory of one thread, 64-byte aligned; contents are meaningless between units.
class unit_scratch {
public:
    static std::int64_t size(const matrix_layout&, bool weighted); ///< in doubles
    unit_scratch(const job&, double* memory);

    const job& shared;
    lane_arrays lanes;
    double* weights; ///< prepared weights of a block

    totals state(std::int64_t panel_in_set) const;
    double* shift(std::int64_t panel_in_set) const;

private:
    double* panels_;
    std::int64_t pitch_;
};

/// Walks unit (set, chunk). The statistics stand in `scratch.state(k)` for the k-th panel of the set
/// afterwards; those of a panel without an included dimension are not made.
void run_unit(unit_scratch& scratch, std::int64_t set, std::int64_t chunk);

/// Whether any dimension of the panel is wanted.
bool panel_included(const problem&, const panel&);

} // namespace tsb

#endif
