// A compute call from the layout to the results: threads, scratch, the merge of chunks.
#include "finish.hpp"
#include "float_environment.hpp"
#include "row_copy.hpp"
#include "scratch.hpp"
#include "team_edge.hpp"
#include "unit.hpp"

#include <algorithm>
#include <limits>
#include <omp.h>

namespace tsb {

namespace {

constexpr std::int64_t parallel_elements = 131072; // below, waking a team costs more than it saves
// The OpenMP runtime takes 128 bytes of the calling thread's stack for each thread that it starts. Memory is busy long
// before.
constexpr std::int64_t most_threads = 256;
constexpr std::int64_t small_call = 65536; // bytes of scratch that a small call finds allocated

const thread_block& memory_of_small_calls() {
    static const thread_block memory(small_call);
    return memory;
}

/// a + b * c; where that has no value, the largest one, which is more memory than there is.
std::int64_t sum_with_product(std::int64_t a, std::int64_t b, std::int64_t c) {
    std::int64_t product = 0;
    std::int64_t sum = 0;
    const bool overflow = __builtin_mul_overflow(b, c, &product) || __builtin_add_overflow(a, product, &sum);
    return overflow ? std::numeric_limits<std::int64_t>::max() : sum;
}

std::int64_t table_vectors(const matrix_layout& m, std::int64_t lanes) {
    return round_up(m.stripe_lanes(), lanes) / lanes;
}

/// Which weight each lane of a stripe takes.
void fill_weight_tables(const matrix_layout& m, std::int64_t lanes, std::int64_t* offset,
                        std::int64_t* lane) {
    for (std::int64_t v = 0; v < table_vectors(m, lanes); ++v) {
        offset[v] = std::min(v * lanes / m.width, m.rows - 1);
        for (std::int64_t k = 0; k < lanes; ++k) {
            lane[v * lanes + k] = std::min((v * lanes + k) / m.width, m.rows - 1) - offset[v];
        }
    }
}

class engine {
public:
    explicit engine(const problem& p)
        : task_(p), job_{p,
                         make_layout(p, kernels().lane.lanes),
                         kernels(),
                         p.is_float ? kernels().of_float : kernels().of_double,
                         nullptr,
                         nullptr,
                         p.is_float ? static_cast<double>(std::numeric_limits<float>::max())
                                    : std::numeric_limits<double>::max()},
          layout_(job_.layout), pitch_(round_up(layout_.width, max_lanes)), n_threads_(choose_threads()) {}

    bool run() {
        // Tables and doubles are counted together, since both have elements of 8 bytes.
        constexpr std::int64_t element = 8;
        static_assert(sizeof(double) == element && sizeof(std::int64_t) == element);
        const std::int64_t vectors = table_vectors(layout_, job_.kernel.lane.lanes);
        const std::int64_t tables =
            task_.weights ? round_up(vectors * (1 + job_.kernel.lane.lanes), max_lanes) : 0;
        const std::int64_t per_thread = unit_scratch::size(layout_, task_.weights != nullptr);
        const std::int64_t n_kept = layout_.n_chunks > 1 ? layout_.n_panels * layout_.n_chunks : 0;
        const std::int64_t count =
            sum_with_product(sum_with_product(tables, n_threads_, per_thread), n_kept, totals::size(pitch_));
        const scratch memory(memory_of_small_calls(), sum_with_product(0, count, element));
        if (!memory) {
            return false;
        }
        if (tables) {
            auto* offset = memory.elements<std::int64_t>();
            fill_weight_tables(layout_, job_.kernel.lane.lanes, offset, offset + vectors);
            job_.weight_offset = offset;
            job_.weight_lane = offset + vectors;
        }
        auto* const of_threads = memory.elements<double>(tables * element);
        kept_ = of_threads + n_threads_ * per_thread;
        if (n_threads_ == 1) {
            run_serial(of_threads);
        } else {
            run_team(of_threads, per_thread);
        }
        return true;
    }

private:
    std::int64_t choose_threads() const {
        if (task_.n_dims * task_.n_observations < parallel_elements) {
            return 1;
        }
        return std::clamp<std::int64_t>(omp_get_max_threads(), 1, std::min(most_threads, layout_.n_units()));
    }

    void run_serial(double* memory) {
        unit_scratch mine(job_, memory);
        for (std::int64_t u = 0; u < layout_.n_units(); ++u) {
            do_unit(mine, u);
        }
        if (layout_.n_chunks > 1) {
            for (std::int64_t p = 0; p < layout_.n_panels; ++p) {
                join_chunks(p);
            }
        }
    }

    void run_team(double* memory, std::int64_t per_thread) {
        const int grain = // NOLINT(clang-analyzer-deadcode.DeadStores): the schedule takes it
            static_cast<int>(std::clamp<std::int64_t>(layout_.n_units() / (n_threads_ * 16), 1, 4096));
        team_edge::release();
#pragma omp parallel num_threads(static_cast <int>(n_threads_))
        {
            team_edge::acquire();
            const default_float_environment environment;
            unit_scratch mine(job_, memory + omp_get_thread_num() * per_thread);
#pragma omp for schedule(dynamic, grain) nowait
            for (std::int64_t u = 0; u < layout_.n_units(); ++u) {
                do_unit(mine, u);
            }
            if (layout_.n_chunks > 1) {
                team_edge::barrier();
#pragma omp for schedule(static) nowait
                for (std::int64_t p = 0; p < layout_.n_panels; ++p) {
                    join_chunks(p);
                }
            }
            team_edge::release();
        }
        team_edge::acquire();
    }

    void do_unit(unit_scratch& mine, std::int64_t unit) {
        const std::int64_t set = unit / layout_.n_chunks;
        const std::int64_t chunk = unit % layout_.n_chunks;
        run_unit(mine, set, chunk);
        const std::int64_t first = set * layout_.set_size;
        const std::int64_t count = std::min(layout_.set_size, layout_.n_panels - first);
        for (std::int64_t k = 0; k < count; ++k) {
            const panel where = layout_.panel_at(first + k);
            if (!panel_included(task_, where)) {
                continue;
            }
            if (layout_.n_chunks == 1) {
                finish(task_, where, mine.state(k));
            } else {
                const totals from = mine.state(k);
                std::copy_n(from.base, totals::size(pitch_), kept(first + k, chunk).base);
            }
        }
    }

    totals kept(std::int64_t p, std::int64_t chunk) const {
        return {kept_ + (p * layout_.n_chunks + chunk) * totals::size(pitch_), pitch_};
    }

    /// Merges neighbours, then neighbours of those: the same tree for any number of threads.
    void join_chunks(std::int64_t p) {
        const panel where = layout_.panel_at(p);
        if (!panel_included(task_, where)) {
            return;
        }
        for (std::int64_t step = 1; step < layout_.n_chunks; step *= 2) {
            for (std::int64_t c = 0; c + step < layout_.n_chunks; c += 2 * step) {
                job_.kernel.lane.merge_totals(kept(p, c), kept(p, c + step), task_.wanted);
            }
        }
        finish(task_, where, kept(p, 0));
    }

    const problem& task_;
    job job_;
    const matrix_layout& layout_;
    std::int64_t pitch_;
    std::int64_t n_threads_;
    double* kept_ = nullptr;
};

} // namespace

bool solve(const problem& p) {
    const default_float_environment environment;
    if (!has_short_columns(p)) {
        return engine(p).run();
    }
    const row_copy rows(p);
    return rows.get() != nullptr && engine(*rows.get()).run();
}

} // namespace tsb
