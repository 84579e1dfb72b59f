#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace test {

/// The names of the OpenCL entries in the order of their resolution.
inline std::vector<std::string> entry_list() {
    std::ifstream file(TEST_ENTRIES);
    return {std::istream_iterator<std::string>(file), {}};
}

} // namespace test
