#include "progress.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include <unistd.h>

#include <fmt/format.h>

namespace aurelo::qtx::describe {

namespace {

constexpr auto first_moments = std::chrono::milliseconds(300);
constexpr auto between_lines = std::chrono::milliseconds(100);

constexpr const char* clear_line = "\r\x1b[K";

} // namespace

std::uintmax_t total_bytes(const std::vector<std::string>& paths) {
    std::uintmax_t total = 0;
    for (const std::string& path : paths) {
        std::error_code no_file;
        if (!std::filesystem::is_regular_file(path, no_file)) {
            return 0;
        }
        const auto size = std::filesystem::file_size(path, no_file);
        total += no_file ? 0 : size;
    }
    return total;
}

std::string progress_line(const reading_state& state, std::uintmax_t total) {
    std::string rows = fmt::format("{} rows", fmt::group_digits(state.rows));
    if (total == 0) {
        return rows;
    }
    constexpr std::size_t width = 25;
    // A file may have grown since its size was asked.
    const double share = std::min(1.0, static_cast<double>(state.bytes) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(share * width);
    return fmt::format("[{:<{}}] {:3.0f} %, {}", std::string(filled, '='), width, 100 * share, rows);
}

progress_bar::progress_bar(const std::vector<std::string>& paths)
    : on_terminal_(isatty(STDERR_FILENO) != 0), total_(total_bytes(paths)),
      next_(clock::now() + first_moments) {}

progress_bar::~progress_bar() {
    if (shown_) {
        std::fputs(clear_line, stderr);
        std::fflush(stderr);
    }
}

void progress_bar::show(const reading_state& state) {
    const auto now = clock::now();
    if (!on_terminal_ || now < next_) {
        return;
    }
    next_ = now + between_lines;
    shown_ = true;
    fmt::print(stderr, "{}{}", clear_line, progress_line(state, total_));
    std::fflush(stderr);
}

} // namespace aurelo::qtx::describe
