#pragma once

#include <stdexcept>

namespace aurelo::qtx::describe {

/// Bad input of the user: a file, an option or a value. The program ends with exit code 2.
class input_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace aurelo::qtx::describe
