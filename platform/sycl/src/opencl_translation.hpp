#pragma once

#include "image_registry.hpp"

#include <cstdint>
#include <string>

namespace sycl::detail::opencl {

struct translation {
    std::uint64_t bytes_per_item; ///< that a launch adds to the block of local memory for reductions
    std::string bitcode;
};

/**
 * The SPIR bitcode of an image: from the cache on disk, or by the translator, which is opened for the first
 * image that is not there. Throws errc::kernel_not_supported if there is no translator, errc::build if it
 * refuses the image.
 */
translation translate(const kernel_image& image);

} // namespace sycl::detail::opencl
