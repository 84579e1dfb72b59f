// The blocks of a chunk: which observations each holds, in at most three parts of equal stripes.
#ifndef TSB_SRC_BLOCK_HPP
#define TSB_SRC_BLOCK_HPP

#include "kernels.hpp"
#include "layout.hpp"

#include <cstdint>

namespace tsb {

struct job;

/// \brief Stripes that one kernel call walks.
struct block_part {
    std::int64_t first_row;
    std::int64_t stream_rows; ///< observations from one stream to the next
    const double* weights;    ///< prepared weights, stream after stream
    std::int64_t streams;
    std::int64_t rounds;
    std::int64_t rows; ///< observations of a stripe; less than the layout's in the last stripe of a chunk

    std::int64_t observations() const { return streams * rounds * rows; }
    std::int64_t weight_gap = 0; ///< prepared weights from one stream to the next
    stripe_block stripes(const job&, const panel&) const;
    /// The stripes from round `first` on, `count` rounds at most.
    block_part slice(std::int64_t first_round, std::int64_t count) const;
};

inline constexpr int max_parts = 3; ///< four streams; stripes that four don't divide; an incomplete stripe

struct block {
    block_part parts[max_parts];
    int n_parts = 0;
    weight_sums weight{};

    const block_part* begin() const { return parts; }
    const block_part* end() const { return parts + n_parts; }
    /// Observations of a stripe, rounded up to a power of two.
    std::int64_t stripe_rows() const;
    /// The same block with at most `rounds` rounds per part, and their weight.
    block head(std::int64_t rounds, const job&) const;
};

/// \brief Cuts a chunk into blocks. Streams are the quarters of the chunk; what is left over goes to the last
/// block.
class chunk_walk {
public:
    chunk_walk(const matrix_layout&, std::int64_t chunk);
    std::int64_t n_blocks;

    /// Also prepares the weights of the block, if there are any, in `weights`.
    block block_at(std::int64_t index, const job&, double* weights) const;

private:
    void add_part(block&, std::int64_t first_row, std::int64_t streams, std::int64_t rounds,
                  std::int64_t rows) const;

    std::int64_t first_row_;
    std::int64_t rows_;           // of a stripe
    std::int64_t stream_stripes_; // stripes of a stream
    std::int64_t extra_stripes_;
    std::int64_t extra_rows_;
};

} // namespace tsb

#endif
