#pragma once

#include "image_registry.hpp"

#include <string>

namespace sycl::detail::opencl {

/**
 * The SPIR bitcode of an image: from the cache on disk, or by the translator, which is opened for the first
 * image that is not there. Throws errc::kernel_not_supported if there is no translator, errc::build if it
 * refuses the image.
 */
std::string translate(const kernel_image& image);

} // namespace sycl::detail::opencl
