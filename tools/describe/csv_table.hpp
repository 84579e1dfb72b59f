#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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

/// How far a reader has come.
struct reading_state {
    std::size_t rows;
    std::uintmax_t bytes; ///< of all files; 0 where a stream does not tell
};

/// How much a reader keeps in memory, and whom it tells how far it is.
struct reading_plan {
    /// Rows of a table of so many columns that are handed over together, at least 1; empty: all.
    std::function<std::size_t(std::size_t n_columns)> rows_at_once;
    /// Called every thousand rows or so; empty: nobody is told.
    std::function<void(const reading_state&)> progress;
};

/// Takes some of the rows; whether they are the last ones. The table may be moved from.
template <typename T>
using take_table = std::function<void(csv_table<T>& table, bool last)>;

/// Reads files with the same header one after the other, as one table, and hands over its rows as \p plan
/// says, at least one at a time. "-" is standard input. \throws input_error as read_csv_table(), and for a
/// header that differs from the first file's.
template <typename T>
void read_csv_files(const std::vector<std::string>& paths, const reading_plan& plan,
                    const take_table<T>& take);

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
extern template void read_csv_files(const std::vector<std::string>&, const reading_plan&,
                                    const take_table<float>&);
extern template void read_csv_files(const std::vector<std::string>&, const reading_plan&,
                                    const take_table<double>&);
extern template csv_table<float> read_csv_file(const std::string&);
extern template csv_table<double> read_csv_file(const std::string&);

} // namespace aurelo::qtx::describe
