#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sycl::translator {

using words = std::vector<std::uint32_t>;

/// The words of a module. Throws std::runtime_error if the bytes are no valid SPIR-V for OpenCL.
words checked_words(const unsigned char* image, std::size_t n_bytes);

/// The module with every null constant of scalar type written as the constant 0, which the translator needs.
words with_plain_zeros(const words& module);

} // namespace sycl::translator
