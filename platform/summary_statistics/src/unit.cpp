#include "unit.hpp"

#include "block.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

namespace tsb {

namespace {

/// Rounds of a unit's first block whose mean is its shift. Where they are a share p of the block, squares about the
/// shift are at most 1/p times the squares about the mean, and cancel no more than that: an eighth at most.
constexpr std::int64_t shift_rounds = 32;

std::int64_t weights_size(const matrix_layout& m) {
    return round_up(m.rows * n_streams * (m.rounds + 1), max_lanes) + max_parts * n_streams * 3 * max_lanes;
}

/// Arrays that start a multiple of 4 KiB apart would wait for each other's stores.
std::int64_t lane_pitch(const matrix_layout& m) {
    return round_up(m.stripe_lanes(), max_lanes) + 5 * max_lanes;
}

/// Reads one element of either type.
double element(const problem& task, const void* array, std::int64_t index) {
    return task.is_float ? static_cast<double>(static_cast<const float*>(array)[index])
                         : static_cast<const double*>(array)[index];
}

/// The walk of one panel through one block.
class block_pass {
public:
    block_pass(unit_scratch& scratch, const panel& where, std::int64_t slot, const block& what)
        : scratch_(scratch), job_(scratch.shared), panel_(where), block_(what), state_(scratch.state(slot)),
          shift_(scratch.shift(slot)), rows_(what.stripe_rows()),
          lanes_(round_up(rows_ * where.width, max_lanes)), how_(!job_.task.weights       ? unweighted
                                                                 : job_.layout.width == 1 ? weight_per_lane
                                                                                          : weight_by_table) {
    }

    void choose_first_shift() {
        const problem& task = job_.task;
        std::fill(shift_, shift_ + state_.pitch, 0.0);
        if (task.wanted.about) {
            for (std::int64_t d = 0; d < panel_.width; ++d) {
                shift_[d] = element(task, task.user_mean, panel_.first_dim + d);
            }
            return;
        }
        const std::int64_t row = panel_.offset + block_.parts[0].first_row * job_.layout.row_stride;
        for (std::int64_t d = 0; d < panel_.width; ++d) {
            const double x = element(task, task.observations, row + d);
            shift_[d] = std::abs(x) <= 0x1p1021 ? x : 0.0;
        }
        move_to_sample_mean();
    }

    void add_to_state() {
        const request& wanted = job_.task.wanted;
        const weight_sums weight = block_.weight;
        if (wanted.central) {
            spread_shift();
            clear(scratch_.lanes.central, wanted.central);
        }
        if (wanted.raw) {
            clear(scratch_.lanes.raw, wanted.raw);
        }
        if (wanted.extremes) {
            std::fill_n(scratch_.lanes.lowest, lanes_, job_.bound);
            std::fill_n(scratch_.lanes.highest, lanes_, -job_.bound);
        }
        run_all();
        if (wanted.central) {
            fold(scratch_.lanes.central, wanted.central);
            if (wanted.about) {
                job_.kernel.lane.add_sums(state_, scratch_.lanes.central, wanted.central);
            } else {
                job_.kernel.lane.merge_block(state_, shift_, scratch_.lanes.central, weight, wanted.central);
            }
        }
        if (wanted.raw) {
            fold(scratch_.lanes.raw, wanted.raw);
            job_.kernel.lane.add_sums(state_, scratch_.lanes.raw, wanted.raw);
        }
        if (wanted.extremes) {
            add_extremes();
        }
        state_.add_weight(weight.first, weight.second);
    }

private:
    void move_to_sample_mean() {
        const block sample = block_.head(shift_rounds, job_);
        spread_shift();
        clear(scratch_.lanes.central, 1);
        for (const block_part& part : sample) {
            run(job_.data.central[1][how_], part);
        }
        fold(scratch_.lanes.central, 1);
        job_.kernel.lane.move_shift(shift_, scratch_.lanes.central[0], sample.weight.first, panel_.width);
    }

    void spread_shift() {
        std::copy_n(shift_, panel_.width, scratch_.lanes.shift);
        job_.kernel.lane.repeat(scratch_.lanes.shift, rows_, panel_.width);
    }

    void clear(double* const* arrays, int n) {
        for (int k = 0; k < n; ++k) {
            std::fill_n(arrays[k], lanes_, 0.0);
        }
    }

    void fold(double* const* arrays, int n) {
        for (int k = 0; k < n; ++k) {
            job_.kernel.lane.fold_sums(arrays[k], rows_, panel_.width);
        }
    }

    void add_extremes() {
        double* low = scratch_.lanes.lowest;
        double* high = scratch_.lanes.highest;
        job_.kernel.lane.fold_extremes(low, high, rows_, panel_.width);
        for (std::int64_t d = 0; d < panel_.width; ++d) {
            state_[totals::lowest][d] = std::min(state_[totals::lowest][d], low[d]);
            state_[totals::highest][d] = std::max(state_[totals::highest][d], high[d]);
        }
    }

    /// Walks the block once: where there are several kernels, each slice passes through all of them while it
    /// is in cache. Slices are whole partial sums, so that the bits are those of the kernels run alone.
    void run_all() {
        const request& wanted = job_.task.wanted;
        std::array<accumulate_fn, 3> all{};
        std::size_t n = 0;
        if (wanted.mean_beside_raw()) {
            all[n++] = job_.data.mean_beside_raw[wanted.raw][how_];
        } else {
            if (wanted.central) {
                all[n++] = job_.data.central[wanted.central][how_];
            }
            if (wanted.raw) {
                all[n++] = job_.data.raw[wanted.raw][how_];
            }
        }
        if (wanted.extremes) {
            all[n++] = job_.data.extremes;
        }
        const std::int64_t step = n > 1 ? rounds_of_part : job_.layout.rounds;
        for (const block_part& part : block_) {
            for (std::int64_t first = 0; first < part.rounds; first += step) {
                const block_part slice = part.slice(first, step);
                for (std::size_t k = 0; k < n; ++k) {
                    run(all[k], slice);
                }
            }
        }
    }

    void run(accumulate_fn kernel, const block_part& part) {
        const stripe_block stripes = part.stripes(job_, panel_);
        kernel(stripes, scratch_.lanes);
    }

    unit_scratch& scratch_;
    const job& job_;
    const panel& panel_;
    const block& block_;
    totals state_;
    double* shift_;
    std::int64_t rows_;
    std::int64_t lanes_;
    weighting how_;
};

} // namespace

std::int64_t unit_scratch::size(const matrix_layout& m, bool weighted) {
    const std::int64_t pitch = round_up(m.width, max_lanes);
    return (2 * max_order + 3 + max_parts_per_lane) * lane_pitch(m) + (weighted ? weights_size(m) : 0) +
           m.set_size * (totals::size(pitch) + pitch);
}

unit_scratch::unit_scratch(const job& j, double* memory)
    : shared(j), lanes{}, pitch_(round_up(j.layout.width, max_lanes)) {
    auto take = [&memory](std::int64_t n) { return std::exchange(memory, memory + n); };
    const std::int64_t n = lane_pitch(j.layout);
    lanes.shift = take(n);
    for (int k = 0; k < max_order; ++k) {
        lanes.central[k] = take(n);
        lanes.raw[k] = take(n);
    }
    lanes.lowest = take(n);
    lanes.highest = take(n);
    lanes.parts = take(max_parts_per_lane * n);
    lanes.weight_offset = j.weight_offset;
    lanes.weight_lane = j.weight_lane;
    weights = take(j.task.weights ? weights_size(j.layout) : 0);
    panels_ = memory;
}

totals unit_scratch::state(std::int64_t panel_in_set) const {
    return {panels_ + panel_in_set * (totals::size(pitch_) + pitch_), pitch_};
}

double* unit_scratch::shift(std::int64_t panel_in_set) const {
    return state(panel_in_set).base + totals::size(pitch_);
}

bool panel_included(const problem& task, const panel& p) {
    for (std::int64_t d = 0; d < p.width; ++d) {
        if (task.mask.includes(p.first_dim + d)) {
            return true;
        }
    }
    return false;
}

void run_unit(unit_scratch& scratch, std::int64_t set, std::int64_t chunk) {
    const job& j = scratch.shared;
    const std::int64_t first = set * j.layout.set_size;
    const std::int64_t end = std::min(first + j.layout.set_size, j.layout.n_panels);
    const chunk_walk walk(j.layout, chunk);
    for (std::int64_t b = 0; b < walk.n_blocks; ++b) {
        const block now = walk.block_at(b, j, scratch.weights);
        for (std::int64_t p = first; p < end; ++p) {
            const panel where = j.layout.panel_at(p);
            if (!panel_included(j.task, where)) {
                continue;
            }
            block_pass pass(scratch, where, p - first, now);
            if (b == 0) {
                scratch.state(p - first).set_identity(j.task.wanted, j.bound);
                pass.choose_first_shift();
            }
            pass.add_to_state();
        }
    }
}

} // namespace tsb
