#include "row_copy.hpp"

namespace tsb {

namespace {

constexpr std::int64_t short_column = 256; // longer columns keep vectors busy by themselves
constexpr std::int64_t most_elements = 65536;
constexpr std::int64_t many_dims =
    8; // these fill vectors without a rest, so that small copies pay for longer columns
constexpr std::int64_t small_copy = 8192; // elements of a copy that stays in cache

const thread_block& memory_of_small_copies() {
    static const thread_block memory(small_copy * static_cast<std::int64_t>(sizeof(double)));
    return memory;
}

/// Copies `count` adjacent columns; a fixed count, and rows that overlap nothing, let the compiler store whole vectors.
template <int count, class T>
void copy_columns(const T* first, std::int64_t observations, T* __restrict rows, std::int64_t dims) {
    for (std::int64_t i = 0; i < observations; ++i) {
        for (int d = 0; d < count; ++d) {
            rows[i * dims + d] = first[d * observations + i];
        }
    }
}

/// Masked columns are not read, and become zeros.
template <class T>
void copy_column_of(const problem& p, std::int64_t d, T* rows) {
    const auto* const columns = static_cast<const T*>(p.observations);
    if (p.mask.includes(d)) {
        copy_columns<1>(columns + d * p.n_observations, p.n_observations, rows + d, p.n_dims);
        return;
    }
    for (std::int64_t i = 0; i < p.n_observations; ++i) {
        rows[i * p.n_dims + d] = 0;
    }
}

template <class T>
const T* copy_elements(const problem& p, T* rows) {
    const auto* const columns = static_cast<const T*>(p.observations);
    constexpr std::int64_t together = 4;
    std::int64_t d = 0;
    for (; p.mask.entries == nullptr && d + together <= p.n_dims; d += together) {
        copy_columns<together>(columns + d * p.n_observations, p.n_observations, rows + d, p.n_dims);
    }
    for (; d < p.n_dims; ++d) {
        copy_column_of(p, d, rows);
    }
    return rows;
}

} // namespace

bool has_short_columns(const problem& p) {
    if (!p.by_dimension || p.n_dims == 1 || p.n_dims > most_elements / p.n_observations) {
        return false;
    }
    return p.n_observations <= short_column ||
           (p.n_dims >= many_dims && p.n_dims * p.n_observations <= small_copy);
}

row_copy::row_copy(const problem& of_columns)
    : rows_(of_columns), elements_(memory_of_small_copies(), of_columns.n_dims * of_columns.n_observations *
                                                                 of_columns.element_size()) {
    if (!elements_) {
        return;
    }
    rows_.by_dimension = false;
    if (of_columns.is_float) {
        rows_.observations = copy_elements(of_columns, elements_.elements<float>());
    } else {
        rows_.observations = copy_elements(of_columns, elements_.elements<double>());
    }
}

} // namespace tsb
