#pragma once

#include <cstddef>

/**
 * The block of local memory in which reductions of device images keep their values: one of each work-item, then the
 * sums of the reducing lanes. Those are read while the next reduction begins, so that nothing else may be there.
 */
namespace sycl::detail {

/// Work-items that combine the values of a group.
inline constexpr std::size_t reducing_lanes = 32;

constexpr std::size_t reducing_lanes_of(std::size_t local_size) {
    return local_size < reducing_lanes ? local_size : reducing_lanes;
}

/// \param value_bytes size of the largest value that is reduced, 0 without reductions
constexpr std::size_t group_scratch_bytes(std::size_t local_size, std::size_t value_bytes) {
    return (local_size + reducing_lanes_of(local_size)) * value_bytes;
}

} // namespace sycl::detail
