#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace aurelo::qtx::describe {

/// One row of a CSV text. The cells live until the next row is read.
struct csv_row {
    std::size_t line; ///< physical line on which the row begins, from 1
    std::span<const std::string> cells;
};

/// Reads a CSV text and hands each row to \p use.
///
/// Quotes, line ends of either kind inside and outside of quotes, a byte order mark and a last line without
/// an end are handled; empty lines are skipped. \p name is the file's name in messages. \throws input_error
/// for misplaced or unclosed quotes and for a stream that cannot be read.
void for_each_csv_row(std::istream& text, std::string_view name,
                      const std::function<void(const csv_row&)>& use);

/// The cells of one CSV line, for lists in options. \p origin begins the message of an error.
std::vector<std::string> split_csv_line(std::string_view line, std::string_view origin);

} // namespace aurelo::qtx::describe
