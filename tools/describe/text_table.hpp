#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace aurelo::qtx::describe {

/// A column of texts under a heading.
struct text_column {
    std::string heading;
    std::vector<std::string> cells;
    bool numeric = true; ///< cells stand to the right
};

/// Lays \p columns out side by side in blocks of at most \p width characters.
///
/// The first column names the rows and begins every block; a block takes at least one more column however
/// wide it is. An empty line parts the blocks. With \p styled the headings are bold.
std::string lay_out(const std::vector<text_column>& columns, std::size_t width, bool styled);

/// Pads numbers so that their decimal points stand below each other.
void align_points(std::vector<std::string>& numbers);

} // namespace aurelo::qtx::describe
