// The vector kernels behind their table of function pointers: one table per instruction set, chosen once at
// run time.
#ifndef TSB_SRC_KERNELS_HPP
#define TSB_SRC_KERNELS_HPP

#include "totals.hpp"

#include <cstdint>

namespace tsb {

inline constexpr int n_streams = 4; ///< far-apart positions that a thread reads at a time
inline constexpr int max_order = 4; ///< of the sums of powers
/// Doubles in the widest vector; the granule of every lane array.
inline constexpr std::int64_t max_lanes = 8;
inline constexpr int max_parts_per_lane = 5; ///< of the sums that one kernel accumulates
inline constexpr int min_vectors =
    4; ///< lanes of a stripe, in vectors: below that, additions wait for each other
inline constexpr int prefetch_bytes = 1024; ///< how far ahead of itself a stream asks for data
inline constexpr int long_stripe = 8;       ///< vectors; longer stripes ask twice as far ahead
/// Stripes of a stream that a partial sum takes. Chains of additions are kept short because their rounding
/// errors can have one sign: the low bits of squares, and of equal elements, are not random.
inline constexpr int rounds_of_part = 16;

constexpr std::int64_t round_up(std::int64_t value, std::int64_t granule) {
    return (value + granule - 1) / granule * granule;
}

/// \brief The data of one kernel call: stripes of `vectors` whole vectors and `tail` more elements.
///
/// A stripe is a run of adjacent elements that holds one or more whole observations. Stream s has its stripe
/// t at element `s * stream_gap + t * stride` of `first`, and the weights of that stripe's observations at
/// `weights + s * weight_gap + t * weight_stride`.
struct stripe_block {
    const void* first;
    const double* weights;
    std::int64_t stream_gap;
    std::int64_t weight_gap;
    std::int64_t streams; ///< n_streams or 1
    std::int64_t rounds;
    std::int64_t stride;
    std::int64_t weight_stride;
    std::int64_t vectors;
    std::int64_t tail;
};

/// \brief Accumulators and constants per lane of a stripe, each array 64-byte aligned and padded to
/// max_lanes.
struct lane_arrays {
    double* shift;
    double* central[max_order];
    double* raw[max_order];
    double* lowest;
    double* highest;
    double* parts; ///< partial sums on their way to the sums proper, meaningless between calls
    const std::int64_t* weight_offset; ///< per vector: first weight of the stripe that one of its lanes uses
    const std::int64_t* weight_lane;   ///< per lane: which of the weights from there
};

/// \brief How the lanes of a vector find their weights.
enum weighting : int {
    unweighted,
    weight_per_lane, ///< every lane is an observation of its own
    weight_by_table, ///< lanes share weights, as lane_arrays tells
    n_weightings
};

using accumulate_fn = void (*)(const stripe_block&, const lane_arrays&);

/// \brief The kernels that touch element data, for one element type.
struct data_kernels {
    accumulate_fn central[max_order + 1][n_weightings]; ///< by highest order
    accumulate_fn raw[max_order + 1][n_weightings];
    accumulate_fn mean_beside_raw[max_order + 1][n_weightings];
    accumulate_fn extremes;
};

struct weight_sums {
    double first;  ///< sum of the weights
    double second; ///< sum of their squares
};

/// \brief The kernels that know no element type.
struct lane_kernels {
    std::int64_t lanes; ///< doubles in a vector
    /// Adds the upper half of `rows` rows (a power of two) of `width` lanes to the lower one, until one row
    /// is left.
    void (*fold_sums)(double* lanes, std::int64_t rows, std::int64_t width);
    void (*fold_extremes)(double* lowest, double* highest, std::int64_t rows, std::int64_t width);
    /// Repeats the first `width` lanes until there are `rows` (a power of two) times as many.
    void (*repeat)(double* lanes, std::int64_t rows, std::int64_t width);
    /// New shifts from order 1 sums about the old ones.
    void (*move_shift)(double* shift, const double* sum, double weight, std::int64_t width);
    /// Makes a block's sums about `shift` central, merges them, and moves `shift` to the block's mean.
    void (*merge_block)(const totals&, double* shift, double* const* sums, weight_sums weight, int order);
    void (*add_sums)(const totals&, double* const* sums, int order);
    void (*merge_totals)(const totals& into, const totals& from, const request&);
};

/// \brief Weights of a block: `count` of each of `streams` (n_streams or 1), `gap` elements apart.
struct weight_streams {
    const void* first;
    std::int64_t gap;
    std::int64_t streams;
    std::int64_t count;
};

struct weight_kernels {
    using prepare_fn = weight_sums (*)(const weight_streams&, double* prepared, std::int64_t prepared_gap);
    /// Copies weights as doubles, those that are not above 0 replaced by 1, and sums them. Behind the weights
    /// of each stream stand max_lanes zeros at least, so that a kernel may load a whole vector from any of
    /// them.
    prepare_fn prepare_double;
    prepare_fn prepare_float;
    double (*sum)(const double* prepared, std::int64_t count);
};

struct kernel_table {
    data_kernels of_double;
    data_kernels of_float;
    lane_kernels lane;
    weight_kernels weight;
};

/// \brief The kernels for this processor.
const kernel_table& kernels();

// One of these per source that is compiled for several instruction sets.
data_kernels double_kernels();
data_kernels float_kernels();
lane_kernels moment_kernels();
weight_kernels weighing_kernels();

} // namespace tsb

#endif
