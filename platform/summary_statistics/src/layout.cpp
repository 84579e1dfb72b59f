#include "layout.hpp"

#include "kernels.hpp"

#include <algorithm>
#include <numeric>

namespace tsb {

namespace {

constexpr std::int64_t most_rounds = 256;  // 1024 elements per lane between two merges
constexpr std::int64_t least_rounds = 128; // fewer, and the merges of wide rows take a tenth of the time
constexpr std::int64_t block_elements = 65536;
constexpr std::int64_t max_panel_vectors = 128; // accumulators of a panel stay in a first-level cache
constexpr std::int64_t panels_per_weight = 8;   // columns that share one pass over the weights
constexpr std::int64_t min_unit = 65536;        // elements; smaller units are mostly overhead
constexpr std::int64_t max_unit = 2097152;
constexpr std::int64_t units_wanted = 32;

/// Several rows to a stripe, so that a stripe is whole vectors and long enough to hide the latency of
/// additions.
void take_dense_rows(matrix_layout& m, std::int64_t lanes) {
    const std::int64_t common = std::gcd(m.width, lanes);
    m.rows = lanes / common;
    while (m.rows * m.width < min_vectors * lanes) {
        m.rows *= 2;
    }
}

/// A row is a stripe, cut into panels of about equal width where it is too wide for one set of accumulators.
void take_wide_rows(matrix_layout& m, std::int64_t lanes) {
    const std::int64_t widest = max_panel_vectors * lanes;
    m.n_panels = (m.n_dims + widest - 1) / widest;
    m.width = round_up((m.n_dims + m.n_panels - 1) / m.n_panels, max_lanes);
    m.n_panels = (m.n_dims + m.width - 1) / m.width;
    m.rows = 1;
}

void cut_observations(matrix_layout& m) {
    const std::int64_t row_elements = m.by_dimension ? m.set_size : m.width;
    const std::int64_t total = m.n_dims * m.n_observations;
    const std::int64_t unit = std::clamp(total / units_wanted, min_unit, max_unit);
    m.chunk_rows = round_up(std::max<std::int64_t>(unit / row_elements, 1), 64);
    m.n_chunks = (m.n_observations + m.chunk_rows - 1) / m.chunk_rows;
    m.chunk_rows = round_up((m.n_observations + m.n_chunks - 1) / m.n_chunks, 64);
    m.n_chunks = (m.n_observations + m.chunk_rows - 1) / m.chunk_rows;
}

} // namespace

panel matrix_layout::panel_at(std::int64_t index) const {
    const std::int64_t first = index * width;
    return {first, std::min(width, n_dims - first), by_dimension ? index * n_observations : first};
}

matrix_layout make_layout(const problem& p, std::int64_t lanes) {
    matrix_layout m{};
    m.n_dims = p.n_dims;
    m.n_observations = p.n_observations;
    m.by_dimension = p.by_dimension;
    m.set_size = 1;
    if (p.by_dimension) {
        m.width = 1;
        m.n_panels = p.n_dims;
        m.row_stride = 1;
        if (p.weights) {
            m.set_size = std::min(p.n_dims, panels_per_weight);
        }
        take_dense_rows(m, lanes);
    } else {
        m.width = p.n_dims;
        m.n_panels = 1;
        m.row_stride = p.n_dims;
        if (p.n_dims / std::gcd(p.n_dims, lanes) <= max_panel_vectors) {
            take_dense_rows(m, lanes);
        } else {
            take_wide_rows(m, lanes);
        }
    }
    m.rounds = std::clamp(block_elements / (n_streams * m.stripe_lanes()), least_rounds, most_rounds);
    m.n_sets = (m.n_panels + m.set_size - 1) / m.set_size;
    cut_observations(m);
    return m;
}

} // namespace tsb
