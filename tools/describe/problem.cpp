#include "problem.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "errors.hpp"
#include "number.hpp"
#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

/// Index of the one column called \p name.
std::size_t find_column(const std::vector<std::string>& columns, const std::string& name,
                        std::string_view option, const std::string& file) {
    const auto found = std::find(columns.begin(), columns.end(), name);
    if (found == columns.end()) {
        throw input_error(fmt::format("{}: {} is no column of {}", option, in_quotes(name), file));
    }
    if (std::find(found + 1, columns.end(), name) != columns.end()) {
        throw input_error(
            fmt::format("{}: {} names more than one column of {}", option, in_quotes(name), file));
    }
    return static_cast<std::size_t>(found - columns.begin());
}

/// Indices of the columns that are dimensions: all but the weights.
std::vector<std::size_t> dimension_columns(const std::vector<std::string>& columns, const options& opts) {
    std::vector<std::size_t> dimensions;
    const std::size_t weights =
        opts.weights ? find_column(columns, *opts.weights, "--weights", opts.table_name()) : columns.size();
    for (std::size_t column = 0; column < columns.size(); ++column) {
        if (column != weights) {
            dimensions.push_back(column);
        }
    }
    if (dimensions.empty()) {
        throw input_error(fmt::format("--weights: {} is the only column of {}; no dimension is left",
                                      in_quotes(*opts.weights), opts.table_name()));
    }
    return dimensions;
}

template <typename T>
std::vector<T> column_values(const csv_table<T>& table, std::size_t column) {
    std::vector<T> values(table.n_rows);
    for (std::size_t row = 0; row < table.n_rows; ++row) {
        values[row] = table.at(row, column);
    }
    return values;
}

template <typename T>
std::vector<T> matrix(const csv_table<T>& table, const std::vector<std::size_t>& columns,
                      bool by_observation) {
    std::vector<T> values(table.n_rows * columns.size());
    const std::size_t row_step = by_observation ? columns.size() : 1;
    const std::size_t dimension_step = by_observation ? 1 : table.n_rows;
    for (std::size_t row = 0; row < table.n_rows; ++row) {
        for (std::size_t d = 0; d < columns.size(); ++d) {
            values[row * row_step + d * dimension_step] = table.at(row, columns[d]);
        }
    }
    return values;
}

/// Names refer to the whole table, so that a name given twice in the file is never taken for one of the two.
template <typename T>
std::vector<std::int64_t> mask_of(const csv_table<T>& table, const std::vector<std::size_t>& columns,
                                  const options& opts) {
    if (opts.mask.empty()) {
        return {};
    }
    std::vector<std::int64_t> mask(columns.size(), 1);
    for (const std::string& name : opts.mask) {
        const std::size_t column = find_column(table.columns, name, "--mask", opts.table_name());
        const auto dimension = std::find(columns.begin(), columns.end(), column);
        mask[static_cast<std::size_t>(dimension - columns.begin())] = 0;
    }
    return mask;
}

template <typename T>
std::vector<T> mean_of(const options& opts, std::size_t n_dims) {
    if (!opts.mean) {
        return {};
    }
    if (opts.mean->size() != n_dims) {
        throw input_error(fmt::format("--mean: {} value{} given, but {} has {} dimension{}",
                                      opts.mean->size(), opts.mean->size() == 1 ? " is" : "s are",
                                      opts.table_name(), n_dims, n_dims == 1 ? "" : "s"));
    }
    std::vector<T> mean(n_dims);
    for (std::size_t d = 0; d < n_dims; ++d) {
        const std::string& text = (*opts.mean)[d];
        const auto fault = parse_number(text, mean[d]);
        if (fault != number_fault::none) {
            throw input_error(
                fmt::format("--mean: value {}: {} {}", d + 1, in_quotes(text), describe_fault(fault)));
        }
    }
    return mean;
}

} // namespace

template <typename T>
problem<T> make_problem(const csv_table<T>& table, const options& opts) {
    const auto columns = dimension_columns(table.columns, opts);
    problem<T> result;
    for (const std::size_t column : columns) {
        result.dimensions.push_back(table.columns[column]);
    }
    result.n_observations = table.n_rows;
    result.by_observation = opts.layout == "by_observation";
    result.mask = mask_of(table, columns, opts);
    result.mean = mean_of<T>(opts, columns.size());
    result.observations = matrix(table, columns, result.by_observation);
    if (opts.weights) {
        result.weights =
            column_values(table, find_column(table.columns, *opts.weights, "--weights", opts.table_name()));
    }
    return result;
}

template problem<float> make_problem(const csv_table<float>&, const options&);
template problem<double> make_problem(const csv_table<double>&, const options&);

} // namespace aurelo::qtx::describe
