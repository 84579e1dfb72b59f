#pragma once

#include <optional>
#include <string_view>

#include <sycl/sycl.hpp>

namespace aurelo::qtx::describe {

/// The device that a user means by \p word: cpu, gpu or accelerator for the best of that type, opencl for an
/// OpenCL device, a GPU rather than another. Nothing for any other word, or if there is no such device.
std::optional<sycl::device> choose_device(std::string_view word);

} // namespace aurelo::qtx::describe
