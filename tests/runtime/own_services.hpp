#pragma once

#include <string>
#include <vector>

namespace test {

/// What the services of this executable were asked to report, and how to end; they come back from both.
std::vector<std::string> reports();
void forget_reports();
/// Makes the services say that the C library is a static one.
void set_libc_is_static(bool is_static);

} // namespace test
