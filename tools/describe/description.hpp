#pragma once

#include <vector>

#include "compute.hpp"
#include "csv_table.hpp"
#include "device.hpp"
#include "estimate_list.hpp"
#include "merged.hpp"
#include "options.hpp"
#include "problem.hpp"
#include "report.hpp"

namespace aurelo::qtx::describe {

/// Rows of a table of \p n_columns that are read and computed at a time: what the options say, else as many as
/// make four million numbers. The standard method takes all of them: it has no form that could be merged.
std::size_t rows_at_once(const options& opts, std::size_t n_columns);

/// Computes the estimates of a table that comes in one piece or in several.
template <typename T>
class description {
public:
    description(const sycl::device& device, const options& opts, estimate_selection selection);

    /// Takes some rows; \p last tells that no more follow. A table that comes in one piece is computed by the
    /// estimates themselves unless the options ask for chunks; of several, statistics are merged.
    /// \throws input_error as make_problem(); errors of the library and of the runtime.
    void take(const csv_table<T>& table, bool last);

    /// After the last rows. The report refers to this object and to \p facts.
    report<T> finished(const device_facts& facts) const;

private:
    void compute_whole(const problem<T>& data);
    void add_chunk(const problem<T>& data);
    void end(problem<T>&& data);

    const options& opts_;
    estimate_selection selection_;
    compute_queue queue_;
    chunk_merger merger_;
    std::size_t n_rows_ = 0;
    problem<T> shape_; ///< names, mask and mean, without observations
    std::vector<computed<T>> results_;
};

extern template class description<float>;
extern template class description<double>;

} // namespace aurelo::qtx::describe
