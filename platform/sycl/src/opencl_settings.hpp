#pragma once

#include <sycl/info.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>

/// What the environment tells the OpenCL back end.
namespace sycl::detail::opencl {

/// Sets variables that drivers read, where the user has not set them. Before the first call of OpenCL.
void set_driver_defaults();

/**
 * SYCL_OPENCL_DEVICE_TYPE: the type that all OpenCL devices are presented as, "cpu", "gpu" or "accelerator".
 * Throws errc::invalid for another value.
 */
std::optional<info::device_type> presented_type();

/**
 * The folder of translated images: "sycl_translations" beside the driver's own cache, in the first of
 * POCL_CACHE_DIR, XDG_CACHE_HOME and HOME/.cache that is an absolute path; empty if none is. Relative paths are
 * ignored.
 */
std::filesystem::path translation_folder();

/**
 * SYCL_OPENCL_CACHE_MIB: what the folder may hold, in mebibytes; 64 if unset, 0 keeps nothing. Throws
 * errc::invalid for anything but a number of at most 12 digits.
 */
std::uint64_t most_translation_bytes();

/// SYCL_OPENCL_CACHE_REPORT=1: a line on stderr for each kept translation, or folder, that is not used and why.
bool reports_unused_translations();

} // namespace sycl::detail::opencl
