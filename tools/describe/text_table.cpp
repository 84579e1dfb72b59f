#include "text_table.hpp"

#include <algorithm>

#include <fmt/color.h>
#include <fmt/format.h>

#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

constexpr std::size_t gap = 2;

std::size_t width_of(const text_column& column) {
    std::size_t width = display_width(column.heading);
    for (const std::string& cell : column.cells) {
        width = std::max(width, display_width(cell));
    }
    return width;
}

std::string padded(const std::string& text, std::size_t width, bool to_the_right) {
    const std::string space(width - std::min(width, display_width(text)), ' ');
    return to_the_right ? space + text : text + space;
}

/// A line of a block, without spaces at its end.
std::string finished(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

/// The first column beside the columns [first, last).
std::string block(const std::vector<text_column>& columns, std::size_t first, std::size_t last, bool styled) {
    std::string heading;
    std::vector<std::string> lines(columns[0].cells.size());
    const auto append = [&](const text_column& column) {
        const std::size_t width = width_of(column);
        const std::string space(heading.empty() ? 0 : gap, ' ');
        heading += space + padded(column.heading, width, column.numeric);
        for (std::size_t row = 0; row < lines.size(); ++row) {
            lines[row] += space + padded(column.cells[row], width, column.numeric);
        }
    };
    append(columns[0]);
    for (std::size_t i = first; i < last; ++i) {
        append(columns[i]);
    }
    heading = finished(heading);
    std::string text = styled ? fmt::format(fmt::emphasis::bold, "{}", heading) : heading;
    for (std::string& line : lines) {
        text += finished(std::move(line));
    }
    return text;
}

/// How many columns from \p first on fit beside the first one.
std::size_t end_of_block(const std::vector<text_column>& columns, std::size_t first, std::size_t width) {
    std::size_t used = width_of(columns[0]) + gap + width_of(columns[first]);
    std::size_t last = first + 1;
    while (last < columns.size() && used + gap + width_of(columns[last]) <= width) {
        used += gap + width_of(columns[last++]);
    }
    return last;
}

} // namespace

std::string lay_out(const std::vector<text_column>& columns, std::size_t width, bool styled) {
    std::string text;
    for (std::size_t first = 1; first < columns.size();) {
        const std::size_t last = end_of_block(columns, first, width);
        if (first > 1) {
            text += '\n';
        }
        text += block(columns, first, last, styled);
        first = last;
    }
    return text;
}

void align_points(std::vector<std::string>& numbers) {
    const auto digits_behind = [](const std::string& number) {
        const auto point = number.find_first_of(".e");
        return point == std::string::npos ? 0 : number.size() - point;
    };
    std::size_t longest = 0;
    for (const std::string& number : numbers) {
        longest = std::max(longest, digits_behind(number));
    }
    for (std::string& number : numbers) {
        number.append(longest - digits_behind(number), ' ');
    }
}

} // namespace aurelo::qtx::describe
