#include "text.hpp"

#include <algorithm>

#include <fmt/format.h>

namespace aurelo::qtx::describe {

namespace {

constexpr std::size_t longest_quote = 40;

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

bool is_control(char c) {
    return static_cast<unsigned char>(c) < 0x20U || c == 0x7F;
}

/// At most \p limit bytes of \p text, never ending inside a character.
std::string_view cut(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    while (limit > 0 && is_continuation(text[limit])) {
        --limit;
    }
    return text.substr(0, limit);
}

} // namespace

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result += is_control(c) ? fmt::format("\\x{:02x}", static_cast<unsigned char>(c)) : std::string(1, c);
    }
    return result;
}

std::string in_quotes(std::string_view text) {
    const std::string_view shown = cut(text, longest_quote);
    return fmt::format("'{}{}'", shown, shown.size() < text.size() ? "..." : "");
}

std::size_t display_width(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !is_continuation(c); }));
}

} // namespace aurelo::qtx::describe
