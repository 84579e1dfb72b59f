#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "csv_table.hpp"

namespace aurelo::qtx::describe {

/// Bytes of all files together; 0 if one of them is no regular file.
std::uintmax_t total_bytes(const std::vector<std::string>& paths);

/// One line of at most 60 characters: a bar if \p total is known, and the rows so far.
std::string progress_line(const reading_state& state, std::uintmax_t total);

/// Shows on a terminal's standard error how far the reading of files has come; shows nothing elsewhere, nor in
/// the first moments, which are all that small files need.
class progress_bar {
public:
    explicit progress_bar(const std::vector<std::string>& paths);
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;
    /// Clears the line.
    ~progress_bar();

    void show(const reading_state& state);

private:
    using clock = std::chrono::steady_clock;

    bool on_terminal_;
    bool shown_ = false;
    std::uintmax_t total_;
    clock::time_point next_;
};

} // namespace aurelo::qtx::describe
