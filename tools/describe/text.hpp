#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace aurelo::qtx::describe {

/// \p text without the spaces and tabs at its ends.
std::string_view trimmed(std::string_view text);

/// \p text on one line: control characters are escaped.
std::string escaped(std::string_view text);

/// \p text in single quotes for a message, cut if it is long.
std::string in_quotes(std::string_view text);

/// Characters of UTF-8 \p text, which is the width that it takes on a terminal.
std::size_t display_width(std::string_view text);

} // namespace aurelo::qtx::describe
