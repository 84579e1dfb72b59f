// Properties of devices: defaults, checks, and the reader of BASALT_DEVICES.
#pragma once

#include "sanitizer.hpp"

#include <basalt/basalt.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace basalt {

#if defined(BASALT_TSAN)
// Every fiber costs the thread sanitizer about a megabyte.
inline constexpr std::size_t max_work_group_size = 64;
#else
inline constexpr std::size_t max_work_group_size = 4096;
#endif
inline constexpr std::size_t documented_work_group_size = 4096;
inline constexpr std::uint32_t max_threads = 1024;

bs_device_desc_t default_desc();

/// Throws error(BS_ERROR_INVALID_ARGUMENT) on values out of range; caps the work-group size, sets number of
/// threads and name where they are left open.
bs_device_desc_t completed(bs_device_desc_t desc);

/// Reads a device list in the form of BASALT_DEVICES. Throws error(BS_ERROR_INVALID_CONFIG) that quotes the
/// faulty word.
std::vector<bs_device_desc_t> parse_devices(std::string_view text);

} // namespace basalt
