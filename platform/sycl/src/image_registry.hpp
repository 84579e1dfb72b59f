#pragma once

#include <sycl/aspects.hpp>
#include <sycl/detail/device_image.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sycl::detail {

/// A kernel that is there as a device image.
struct kernel_image {
    std::uint64_t id; ///< never used again, so that caches outlive the shared object safely
    std::string entry;
    std::uint64_t argument_bytes;
    std::uint64_t group_value_bytes; ///< of the largest value that it reduces over a group
    const unsigned char* first;
    const unsigned char* last;
    std::string compile_options;
    std::vector<aspect> aspects;

    std::size_t bytes() const { return static_cast<std::size_t>(last - first); }
};

/**
 * The image of the kernel whose type has the mangled name \p kernel; null if no loaded object has it. Throws
 * errc::kernel_not_supported instead of null if an object's list of images was ignored for its version, as the
 * kernel may be in that one.
 */
std::shared_ptr<const kernel_image> find_image(const char* kernel);

/// The largest value, in bytes, that this kernel reduces over a group; 0 if it reduces none or has no image.
std::size_t reduced_value_bytes(const char* kernel);

/// Kernels that are there as images of loaded shared objects.
std::size_t count_images();

} // namespace sycl::detail
