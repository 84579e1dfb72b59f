#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace aurelo::qtx::describe {

/// The numbers of a CSV file, row after row.
template <typename T>
struct csv_table {
    std::vector<std::string> columns; ///< names, from the header line
    std::size_t n_rows = 0;
    std::vector<T> values; ///< n_rows x columns.size() numbers; a row is contiguous

    T at(std::size_t row, std::size_t column) const { return values[row * columns.size() + column]; }
};

/// Reads a header line of names and at least one row of numbers. \p name is the file's name in messages.
/// \throws input_error that names file, line and column: no header, no rows, a ragged row, a cell that is no
/// number.
template <typename T>
csv_table<T> read_csv_table(std::istream& text, const std::string& name);

/// The same from the file at \p path, or from standard input if \p path is "-".
template <typename T>
csv_table<T> read_csv_file(const std::string& path);

extern template csv_table<float> read_csv_table(std::istream&, const std::string&);
extern template csv_table<double> read_csv_table(std::istream&, const std::string&);
extern template csv_table<float> read_csv_file(const std::string&);
extern template csv_table<double> read_csv_file(const std::string&);

} // namespace aurelo::qtx::describe
