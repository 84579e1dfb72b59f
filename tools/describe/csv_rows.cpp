#include "csv_rows.hpp"

#include <istream>
#include <new>
#include <sstream>

#include <csv.h>
#include <fmt/format.h>

#include "errors.hpp"

namespace aurelo::qtx::describe {

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

/// Wraps the parser; keeps the strings of former rows so that a row costs no allocation.
class row_parser {
public:
    row_parser() {
        if (csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI) != 0) {
            throw std::bad_alloc();
        }
    }
    row_parser(const row_parser&) = delete;
    row_parser& operator=(const row_parser&) = delete;
    ~row_parser() { csv_free(&parser_); }

    /// Takes a piece of text that ends at a line end; false if a quote is misplaced.
    bool feed(std::string_view piece) {
        return csv_parse(&parser_, piece.data(), piece.size(), on_cell, on_row_end, this) == piece.size();
    }
    /// Takes the end of the text; false if a quote is still open.
    bool finish() { return csv_fini(&parser_, on_cell, on_row_end, this) == 0; }

    bool row_complete() const { return complete_; }
    bool inside_row() const { return n_cells_ > 0 || parser_.quoted != 0; }
    std::span<const std::string> cells() const { return {cells_.data(), n_cells_}; }
    void next_row() {
        n_cells_ = 0;
        complete_ = false;
    }

private:
    static void on_cell(void* text, std::size_t size, void* self_pointer) {
        auto& self = *static_cast<row_parser*>(self_pointer);
        if (self.n_cells_ == self.cells_.size()) {
            self.cells_.emplace_back();
        }
        self.cells_[self.n_cells_++].assign(static_cast<const char*>(text), size);
    }
    static void on_row_end(int, void* self_pointer) {
        static_cast<row_parser*>(self_pointer)->complete_ = true;
    }

    csv_parser parser_{};
    std::vector<std::string> cells_;
    std::size_t n_cells_ = 0;
    bool complete_ = false;
};

/// Feeds the parser piece by piece and keeps count of the physical lines.
class row_reader {
public:
    row_reader(std::string_view name, const std::function<void(const csv_row&)>& use)
        : name_(name), use_(use) {}

    /// Takes one line of the stream, cut at each carriage return, so that a piece ends at most one row.
    void take_line(std::string_view line) {
        while (!line.empty()) {
            const auto cr = line.find('\r');
            const auto size = cr == std::string_view::npos ? line.size() : cr + 1;
            const std::string_view piece = line.substr(0, size);
            line.remove_prefix(size);
            take_piece(piece);
            if (piece.back() == '\n' || (piece.back() == '\r' && !line.starts_with('\n'))) {
                ++line_;
            }
        }
    }

    void finish() {
        if (!parser_.finish()) {
            throw input_error(fmt::format("{}: line {}, column {}: a quote is opened and never closed", name_,
                                          row_line_, parser_.cells().size() + 1));
        }
        hand_over();
    }

private:
    void take_piece(std::string_view piece) {
        if (!parser_.inside_row()) {
            row_line_ = line_;
        }
        if (!parser_.feed(piece)) {
            throw input_error(fmt::format("{}: line {}, column {}: a quote stands where none may be", name_,
                                          line_, parser_.cells().size() + 1));
        }
        hand_over();
    }

    void hand_over() {
        if (parser_.row_complete()) {
            use_({row_line_, parser_.cells()});
            parser_.next_row();
        }
    }

    std::string_view name_;
    const std::function<void(const csv_row&)>& use_;
    row_parser parser_;
    std::size_t line_ = 1;
    std::size_t row_line_ = 1;
};

std::string_view without_byte_order_mark(std::string_view line) {
    return line.starts_with(byte_order_mark) ? line.substr(byte_order_mark.size()) : line;
}

} // namespace

void for_each_csv_row(std::istream& text, std::string_view name,
                      const std::function<void(const csv_row&)>& use) {
    row_reader reader(name, use);
    bool first = true;
    for (std::string line; std::getline(text, line);) {
        if (!text.eof()) {
            line += '\n';
        }
        reader.take_line(first ? without_byte_order_mark(line) : std::string_view(line));
        first = false;
    }
    if (text.bad()) {
        throw input_error(fmt::format("{}: cannot be read", name));
    }
    reader.finish();
}

std::vector<std::string> split_csv_line(std::string_view line, std::string_view origin) {
    std::vector<std::string> cells;
    std::istringstream text{std::string(line)};
    for_each_csv_row(text, origin,
                     [&](const csv_row& row) { cells.assign(row.cells.begin(), row.cells.end()); });
    return cells;
}

} // namespace aurelo::qtx::describe
