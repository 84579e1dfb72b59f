#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "csv_table.hpp"
#include "options.hpp"

namespace aurelo::qtx::describe {

/// The arrays that a call to the library takes, cut out of a table as the options say.
template <typename T>
struct problem {
    std::vector<std::string> dimensions; ///< column names of the dimensions, in order of the file
    std::size_t n_observations = 0;
    bool by_observation = false;
    std::vector<T>
        observations;       ///< dimensions x observations; by_observation: a row of the file is contiguous
    std::vector<T> weights; ///< one per observation; empty: none
    std::vector<std::int64_t> mask; ///< one per dimension, 0 for a column left out; empty: none
    std::vector<T> mean;            ///< the caller's, one per dimension; empty: none

    std::size_t n_dims() const { return dimensions.size(); }
    bool masked(std::size_t dimension) const { return !mask.empty() && mask[dimension] == 0; }
};

/// \throws input_error for unknown or ambiguous columns, a table without dimensions and a mean that does not
/// fit.
template <typename T>
problem<T> make_problem(const csv_table<T>& table, const options& opts);

extern template problem<float> make_problem(const csv_table<float>&, const options&);
extern template problem<double> make_problem(const csv_table<double>&, const options&);

} // namespace aurelo::qtx::describe
