// As much of a SPIR-V module as tells what it defines and needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace test {

struct spirv_module {
    std::vector<std::string> entry_points;
    std::set<std::uint32_t> functions;    ///< ids
    std::set<std::uint32_t> reached;      ///< ids of those that an entry point calls, itself included
    std::set<std::uint32_t> float_widths; ///< in bits
    std::set<std::uint32_t> capabilities;
};

/// Throws std::runtime_error for what is no module.
spirv_module parse_spirv(const unsigned char* first, const unsigned char* last);

} // namespace test
