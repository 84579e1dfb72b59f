#pragma once

#include <sycl/detail/kernel.hpp>

#include <string>

namespace sycl::detail {

/// A kernel's name as a person writes it; of the mangled name of its type, or of its traits.
std::string readable_name(const char* mangled);
inline std::string readable_name(const kernel_traits& kernel) {
    return readable_name(kernel.name);
}

} // namespace sycl::detail
