#pragma once

#include <cstddef>

/**
 * How the one block of local memory of a launch from a device image is divided: group algorithms keep their
 * values in front, the local accessors follow. The kernel's entry and the runtime both compute it from the
 * group's size.
 */
namespace sycl::detail {

/// Lanes that add up the values of a group; their sums stand in front of the values.
inline constexpr std::size_t reducing_lanes = 32;
/// The largest value that a group algorithm takes.
inline constexpr std::size_t largest_group_value = 8;

constexpr std::size_t group_scratch_bytes(std::size_t local_size) {
    constexpr std::size_t alignment = 64;
    const std::size_t bytes = (reducing_lanes + local_size) * largest_group_value;
    return (bytes + alignment - 1) / alignment * alignment;
}

} // namespace sycl::detail
