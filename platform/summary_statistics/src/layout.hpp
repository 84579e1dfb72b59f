// How a matrix is cut: into panels of adjacent dimensions, chunks of observations, blocks and stripes. A
// function of the shape and the vector width alone, so that results don't depend on the number of threads.
#ifndef TSB_SRC_LAYOUT_HPP
#define TSB_SRC_LAYOUT_HPP

#include "problem.hpp"

#include <cstdint>

namespace tsb {

/// \brief A run of adjacent dimensions whose statistics are made together.
struct panel {
    std::int64_t first_dim;
    std::int64_t width;  ///< dimensions
    std::int64_t offset; ///< of its first element in the matrix
};

struct matrix_layout {
    std::int64_t n_dims;
    std::int64_t n_observations;
    bool by_dimension;
    std::int64_t width; ///< dimensions of a panel; the last may have fewer
    std::int64_t n_panels;
    std::int64_t row_stride; ///< elements from one observation to the next
    std::int64_t rows;       ///< observations of a stripe, a power of two
    std::int64_t rounds;     ///< stripes of one stream in a block
    std::int64_t set_size;   ///< panels that a unit walks side by side, to share the weights
    std::int64_t n_sets;
    std::int64_t chunk_rows; ///< observations of a unit; the last chunk may have fewer
    std::int64_t n_chunks;

    std::int64_t stripe_lanes() const { return rows * width; }
    std::int64_t n_units() const { return n_sets * n_chunks; }
    panel panel_at(std::int64_t index) const;
};

matrix_layout make_layout(const problem&, std::int64_t lanes);

} // namespace tsb

#endif
