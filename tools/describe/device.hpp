#pragma once

#include <string>

#include <sycl/sycl.hpp>

#include "report.hpp"

namespace aurelo::qtx::describe {

/// The device that --device \p choice means.
/// \throws input_error if there is none of the kind.
sycl::device find_device(const std::string& choice);

device_facts facts_of(const sycl::device& device);

/// Every device with its platform, type, work-group limit, local memory and support of double.
std::string device_list(bool styled);

} // namespace aurelo::qtx::describe
