#include "block.hpp"

#include "unit.hpp"

#include <algorithm>
#include <bit>

namespace tsb {

namespace {

/// Copies the weights of every stream of the block into `target`, and gives their sums.
weight_sums prepare_weights(block& b, const job& j, double* target) {
    const auto prepare = j.task.is_float ? j.kernel.weight.prepare_float : j.kernel.weight.prepare_double;
    const char* source = static_cast<const char*>(j.task.weights);
    weight_sums total{};
    for (block_part* part = b.parts; part != b.parts + b.n_parts; ++part) {
        const std::int64_t count = part->rounds * part->rows;
        part->weights = target;
        part->weight_gap = round_up(count, max_lanes) + 2 * max_lanes;
        const weight_streams from{source + part->first_row * j.task.element_size(), part->stream_rows,
                                  part->streams, count};
        const weight_sums sums = prepare(from, target, part->weight_gap);
        total.first += sums.first;
        total.second += sums.second;
        target += part->streams * part->weight_gap;
    }
    return total;
}

} // namespace

stripe_block block_part::stripes(const job& j, const panel& p) const {
    const std::int64_t lanes = j.kernel.lane.lanes;
    const std::int64_t elements = rows * p.width;
    const std::int64_t index = p.offset + first_row * j.layout.row_stride;
    stripe_block b{};
    b.first = static_cast<const char*>(j.task.observations) + index * j.task.element_size();
    b.stream_gap = stream_rows * j.layout.row_stride;
    b.weights = weights;
    b.weight_gap = weight_gap;
    b.streams = streams;
    b.rounds = rounds;
    b.stride = rows * j.layout.row_stride;
    b.weight_stride = rows;
    b.vectors = elements / lanes;
    b.tail = elements % lanes;
    return b;
}

block_part block_part::slice(std::int64_t first_round, std::int64_t count) const {
    block_part part = *this;
    part.first_row += first_round * rows;
    part.weights = weights ? weights + first_round * rows : nullptr;
    part.rounds = std::min(count, rounds - first_round);
    return part;
}

std::int64_t block::stripe_rows() const {
    std::int64_t most = 1;
    for (const block_part& part : *this) {
        most = std::max(most, part.rows);
    }
    return static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(most)));
}

block block::head(std::int64_t rounds, const job& j) const {
    block sample = *this;
    sample.weight = {};
    for (block_part* part = sample.parts; part != sample.parts + sample.n_parts; ++part) {
        part->rounds = std::min(part->rounds, rounds);
        if (!j.task.weights) {
            sample.weight.first += static_cast<double>(part->observations());
            continue;
        }
        for (std::int64_t s = 0; s < part->streams; ++s) {
            sample.weight.first +=
                j.kernel.weight.sum(part->weights + s * part->weight_gap, part->rounds * part->rows);
        }
    }
    return sample;
}

chunk_walk::chunk_walk(const matrix_layout& m, std::int64_t chunk)
    : first_row_(chunk * m.chunk_rows), rows_(m.rows) {
    const std::int64_t count = std::min(m.chunk_rows, m.n_observations - first_row_);
    const std::int64_t stripes = count / rows_;
    stream_stripes_ = stripes / n_streams;
    extra_stripes_ = stripes % n_streams;
    extra_rows_ = count % rows_;
    n_blocks = std::max<std::int64_t>((stream_stripes_ + m.rounds - 1) / m.rounds, 1);
}

void chunk_walk::add_part(block& b, std::int64_t first_row, std::int64_t streams, std::int64_t rounds,
                          std::int64_t rows) const {
    if (rounds == 0 || rows == 0) {
        return;
    }
    block_part& part = b.parts[b.n_parts++];
    part.first_row = first_row;
    part.stream_rows = stream_stripes_ * rows_;
    part.weights = nullptr;
    part.streams = streams;
    part.rounds = rounds;
    part.rows = rows;
    b.weight.first += static_cast<double>(part.observations());
}

block chunk_walk::block_at(std::int64_t index, const job& j, double* weights) const {
    const std::int64_t begin = index * stream_stripes_ / n_blocks;
    const std::int64_t end = (index + 1) * stream_stripes_ / n_blocks;
    block b;
    add_part(b, first_row_ + begin * rows_, n_streams, end - begin, rows_);
    if (index == n_blocks - 1) {
        const std::int64_t rest = first_row_ + n_streams * stream_stripes_ * rows_;
        add_part(b, rest, 1, extra_stripes_, rows_);
        add_part(b, rest + extra_stripes_ * rows_, 1, 1, extra_rows_);
    }
    b.weight.second = b.weight.first;
    if (j.task.weights) {
        b.weight = prepare_weights(b, j, weights);
    }
    return b;
}

} // namespace tsb
