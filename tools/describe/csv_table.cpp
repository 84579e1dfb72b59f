#include "csv_table.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <fmt/format.h>

#include "csv_rows.hpp"
#include "errors.hpp"
#include "number.hpp"
#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

[[noreturn]] void fail_at(std::string_view file, std::size_t line, std::size_t column,
                          std::string_view what) {
    throw input_error(fmt::format("{}: line {}, column {}: {}", file, line, column + 1, what));
}

/// " in column NAME"; nothing for a column beyond the header.
std::string name_of(const std::vector<std::string>& columns, std::size_t column) {
    return column < columns.size() ? fmt::format(" in column {}", in_quotes(columns[column])) : std::string();
}

/// Builds a table from the rows of one file.
template <typename T>
class table_builder {
public:
    explicit table_builder(const std::string& file) : file_(file) {}

    void take(const csv_row& row) {
        last_line_ = row.line;
        if (table_.columns.empty()) {
            take_header(row);
        } else {
            take_numbers(row);
        }
    }

    csv_table<T> finished() && {
        if (table_.columns.empty()) {
            fail_at(file_, 1, 0, "the file is empty; it should begin with a line of column names");
        }
        if (table_.n_rows == 0) {
            fail_at(file_, last_line_ + 1, 0, "no rows follow the line of column names");
        }
        return std::move(table_);
    }

private:
    void take_header(const csv_row& row) {
        for (const std::string& cell : row.cells) {
            table_.columns.emplace_back(trimmed(cell));
        }
    }

    void take_numbers(const csv_row& row) {
        refuse_ragged(row);
        for (std::size_t column = 0; column < row.cells.size(); ++column) {
            table_.values.push_back(number(row, column));
        }
        ++table_.n_rows;
    }

    void refuse_ragged(const csv_row& row) const {
        const std::size_t wanted = table_.columns.size();
        const std::size_t found = row.cells.size();
        if (found != wanted) {
            fail_at(file_, row.line, std::min(found, wanted),
                    fmt::format("the row has {} cell{}, but the header names {} column{}", found,
                                found == 1 ? "" : "s", wanted, wanted == 1 ? "" : "s"));
        }
    }

    T number(const csv_row& row, std::size_t column) const {
        T value{};
        const auto fault = parse_number(row.cells[column], value);
        if (fault != number_fault::none) {
            fail_at(file_, row.line, column,
                    fmt::format("{} {}{}", in_quotes(row.cells[column]), describe_fault(fault),
                                name_of(table_.columns, column)));
        }
        return value;
    }

    const std::string& file_;
    csv_table<T> table_;
    std::size_t last_line_ = 0;
};

std::ifstream opened(const std::string& path) {
    if (std::filesystem::is_directory(path)) {
        throw input_error(fmt::format("{}: is a directory, not a file", path));
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw input_error(fmt::format("{}: cannot be opened: {}", path, std::strerror(errno)));
    }
    return file;
}

} // namespace

template <typename T>
csv_table<T> read_csv_table(std::istream& text, const std::string& name) {
    table_builder<T> builder(name);
    for_each_csv_row(text, name, [&](const csv_row& row) { builder.take(row); });
    return std::move(builder).finished();
}

template <typename T>
csv_table<T> read_csv_file(const std::string& path) {
    if (path == "-") {
        return read_csv_table<T>(std::cin, "standard input");
    }
    auto file = opened(path);
    return read_csv_table<T>(file, path);
}

template csv_table<float> read_csv_table(std::istream&, const std::string&);
template csv_table<double> read_csv_table(std::istream&, const std::string&);
template csv_table<float> read_csv_file(const std::string&);
template csv_table<double> read_csv_file(const std::string&);

} // namespace aurelo::qtx::describe
