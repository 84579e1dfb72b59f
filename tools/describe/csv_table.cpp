#include "csv_table.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>

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

std::string counted_columns(std::size_t n) {
    return fmt::format("{} column{}", n, n == 1 ? "" : "s");
}

/// " in column NAME"; nothing for a column beyond the header.
std::string name_of(const std::vector<std::string>& columns, std::size_t column) {
    return column < columns.size() ? fmt::format(" in column {}", in_quotes(columns[column])) : std::string();
}

/// Builds tables from the rows of files that belong together.
template <typename T>
class table_builder {
public:
    table_builder(const reading_plan& plan, const take_table<T>& take) : plan_(plan), take_(take) {}

    void begin_file(const std::string& name) {
        file_ = name;
        n_file_rows_ = 0;
        last_line_ = 0;
        if (first_file_.empty()) {
            first_file_ = name;
        }
    }

    void take(const csv_row& row) {
        if (last_line_ == 0) {
            take_header(row);
        } else {
            take_numbers(row);
        }
        last_line_ = row.line;
    }

    void end_file() const {
        if (last_line_ == 0) {
            fail_at(file_, 1, 0, "the file is empty; it should begin with a line of column names");
        }
        if (n_file_rows_ == 0) {
            fail_at(file_, last_line_ + 1, 0, "no rows follow the line of column names");
        }
    }

    void hand_over(bool last) {
        take_(table_, last);
        table_.values.clear();
        table_.n_rows = 0;
    }

    std::size_t n_rows() const { return n_all_rows_; }

private:
    void take_header(const csv_row& row) {
        if (!table_.columns.empty()) {
            refuse_other_header(row);
            return;
        }
        for (const std::string& cell : row.cells) {
            table_.columns.emplace_back(trimmed(cell));
        }
        if (plan_.rows_at_once) {
            limit_ = plan_.rows_at_once(table_.columns.size());
        }
    }

    void refuse_other_header(const csv_row& row) const {
        const std::size_t wanted = table_.columns.size();
        const std::size_t found = row.cells.size();
        for (std::size_t column = 0; column < std::min(found, wanted); ++column) {
            if (trimmed(row.cells[column]) != table_.columns[column]) {
                fail_at(file_, row.line, column,
                        fmt::format("the column is {}, but {} has {} there",
                                    in_quotes(trimmed(row.cells[column])), first_file_,
                                    in_quotes(table_.columns[column])));
            }
        }
        if (found != wanted) {
            fail_at(file_, row.line, std::min(found, wanted),
                    fmt::format("the header names {}, but that of {} names {}", counted_columns(found),
                                first_file_, wanted));
        }
    }

    void take_numbers(const csv_row& row) {
        refuse_ragged(row);
        if (table_.n_rows == limit_) {
            hand_over(false);
        }
        for (std::size_t column = 0; column < row.cells.size(); ++column) {
            table_.values.push_back(number(row, column));
        }
        ++table_.n_rows;
        ++n_file_rows_;
        ++n_all_rows_;
    }

    void refuse_ragged(const csv_row& row) const {
        const std::size_t wanted = table_.columns.size();
        const std::size_t found = row.cells.size();
        if (found != wanted) {
            fail_at(file_, row.line, std::min(found, wanted),
                    fmt::format("the row has {} cell{}, but the header names {}", found,
                                found == 1 ? "" : "s", counted_columns(wanted)));
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

    const reading_plan& plan_;
    const take_table<T>& take_;
    std::string file_;
    std::string first_file_;
    csv_table<T> table_;
    std::size_t limit_ = std::numeric_limits<std::size_t>::max();
    std::size_t last_line_ = 0; ///< of the file; 0 before its header
    std::size_t n_file_rows_ = 0;
    std::size_t n_all_rows_ = 0;
};

/// Tells a plan's listener how far the reading of streams has come.
class progress_teller {
public:
    explicit progress_teller(const reading_plan& plan) : plan_(plan) {}

    void begin_stream(std::istream& text) {
        text_ = &text;
        former_bytes_ += stream_bytes_;
        stream_bytes_ = 0;
    }

    void row_taken(std::size_t rows) {
        constexpr std::size_t step = 1024;
        if (!plan_.progress || rows % step != 0) {
            return;
        }
        // Of the stream's buffer, as the stream itself has no position behind its last character.
        const auto position = text_->rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
        stream_bytes_ = position > 0 ? static_cast<std::uintmax_t>(position) : 0;
        plan_.progress({rows, former_bytes_ + stream_bytes_});
    }

private:
    const reading_plan& plan_;
    std::istream* text_ = nullptr;
    std::uintmax_t former_bytes_ = 0;
    std::uintmax_t stream_bytes_ = 0;
};

/// Hands the rows of streams to a builder.
template <typename T>
class table_reader {
public:
    table_reader(const reading_plan& plan, const take_table<T>& take) : builder_(plan, take), teller_(plan) {}

    void read(std::istream& text, const std::string& name) {
        builder_.begin_file(name);
        teller_.begin_stream(text);
        for_each_csv_row(text, name, [&](const csv_row& row) {
            builder_.take(row);
            teller_.row_taken(builder_.n_rows());
        });
        builder_.end_file();
    }

    void finish() { builder_.hand_over(true); }

private:
    table_builder<T> builder_;
    progress_teller teller_;
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

/// What take_table stores where all rows are wanted in one table.
template <typename T>
take_table<T> move_into(csv_table<T>& whole) {
    return [&whole](csv_table<T>& table, bool) { whole = std::move(table); };
}

} // namespace

template <typename T>
void read_csv_files(const std::vector<std::string>& paths, const reading_plan& plan,
                    const take_table<T>& take) {
    table_reader<T> reader(plan, take);
    for (const std::string& path : paths) {
        if (path == "-") {
            reader.read(std::cin, "standard input");
        } else {
            auto file = opened(path);
            reader.read(file, path);
        }
    }
    reader.finish();
}

template <typename T>
csv_table<T> read_csv_table(std::istream& text, const std::string& name) {
    csv_table<T> whole;
    const reading_plan plan;
    const auto take = move_into(whole);
    table_reader<T> reader(plan, take);
    reader.read(text, name);
    reader.finish();
    return whole;
}

template <typename T>
csv_table<T> read_csv_file(const std::string& path) {
    csv_table<T> whole;
    read_csv_files<T>({path}, {}, move_into(whole));
    return whole;
}

template void read_csv_files(const std::vector<std::string>&, const reading_plan&, const take_table<float>&);
template void read_csv_files(const std::vector<std::string>&, const reading_plan&, const take_table<double>&);
template csv_table<float> read_csv_table(std::istream&, const std::string&);
template csv_table<double> read_csv_table(std::istream&, const std::string&);
template csv_table<float> read_csv_file(const std::string&);
template csv_table<double> read_csv_file(const std::string&);

} // namespace aurelo::qtx::describe
