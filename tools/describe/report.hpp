#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "estimate_list.hpp"
#include "options.hpp"
#include "problem.hpp"

namespace aurelo::qtx::describe {

/// What a reader wants to know of the device that computed.
struct device_facts {
    std::string name;
    bool cpu_path = false; ///< the library takes its CPU path there, else its GPU path
    std::size_t work_group_limit = 0;
};

/// The values of one estimate, one per dimension. Those of masked dimensions mean nothing.
template <typename T>
struct computed {
    const estimate* what;
    std::vector<T> values;
};

/// Everything that an output shows.
template <typename T>
struct report {
    const options& opts;
    const problem<T>& data;
    const device_facts& device;
    const std::vector<computed<T>>& estimates;
    std::size_t n_chunks = 0; ///< chunks of rows whose statistics were merged; 0: all rows in one piece
};

/// Kernels that a GPU device runs one after the other: each shortens a row by the factor of its work-group
/// limit.
std::size_t launch_passes(std::size_t n_observations, std::size_t work_group_limit);

/// One JSON object on one line. Numbers read back exactly; values that are not finite are strings, masked
/// ones null.
template <typename T>
std::string to_json(const report<T>& shown);

/// A title and aligned blocks of at most 100 characters, one row per dimension; \p styled adds bold headings.
template <typename T>
std::string to_table(const report<T>& shown, bool styled);

extern template std::string to_json(const report<float>&);
extern template std::string to_json(const report<double>&);
extern template std::string to_table(const report<float>&, bool);
extern template std::string to_table(const report<double>&, bool);

} // namespace aurelo::qtx::describe
