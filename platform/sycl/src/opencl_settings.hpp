#pragma once

#include <sycl/info.hpp>

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

/// The folder of translated images: beside the driver's own cache; empty if there is no place for one.
std::filesystem::path translation_folder();

} // namespace sycl::detail::opencl
