#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace test {

struct entry {
    std::string name;
    std::string without; ///< what its wrapper returns without the entry: int (2), null or void
};

/// The entries in the order of their resolution.
inline std::vector<entry> entry_list() {
    std::ifstream file(TEST_ENTRIES);
    std::vector<entry> result;
    for (entry next; file >> next.name >> next.without;) {
        result.push_back(next);
    }
    return result;
}

inline std::vector<std::string> entry_names() {
    std::vector<std::string> names;
    for (const auto& each : entry_list()) {
        names.push_back(each.name);
    }
    return names;
}

} // namespace test
