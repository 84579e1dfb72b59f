#pragma once

#include <set>
#include <string>

namespace test {

/// The names of all kernels that the library must carry, by the rule over functors and flags.
std::set<std::string> expected_kernels();

} // namespace test
