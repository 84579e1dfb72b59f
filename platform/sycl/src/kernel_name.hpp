#pragma once

#include <sycl/detail/kernel.hpp>

#include <string>

namespace sycl::detail {

/// A kernel's name as a person writes it.
std::string readable_name(const kernel_traits& kernel);

} // namespace sycl::detail
