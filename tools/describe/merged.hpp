#pragma once

#include <optional>
#include <vector>

#include <stats/partial.hpp>

#include "estimate_list.hpp"
#include "report.hpp"

namespace aurelo::qtx::describe {

/// Merges the statistics of chunks as they come: like a binary counter, so that merges are nested only as deep
/// as the logarithm of the number of chunks, and so grows their error.
class chunk_merger {
public:
    /// Takes one record per dimension, always of the same dimensions.
    void add(std::vector<stats::partial> chunk);

    /// The statistics of all chunks; none if there was no chunk.
    std::vector<stats::partial> total() const;

    std::size_t n_chunks() const { return n_chunks_; }

private:
    /// At level i what 2^i chunks have merged to.
    std::vector<std::optional<std::vector<stats::partial>>> levels_;
    std::size_t n_chunks_ = 0;
};

/// The estimates \p selection of merged statistics, in its order; about \p mean those that take it, if it is not
/// empty.
template <typename T>
std::vector<computed<T>> computed_of(const std::vector<stats::partial>& total,
                                     const estimate_selection& selection, const std::vector<T>& mean);

extern template std::vector<computed<float>>
computed_of(const std::vector<stats::partial>&, const estimate_selection&, const std::vector<float>&);
extern template std::vector<computed<double>>
computed_of(const std::vector<stats::partial>&, const estimate_selection&, const std::vector<double>&);

} // namespace aurelo::qtx::describe
