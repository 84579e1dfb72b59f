#pragma once

#include <cstddef>
#include <type_traits>

/**
 * How the block of local memory in which group algorithms of device images keep their values is divided: the group
 * variable; for each number of a value the sums of the reducing lanes; and for each number those of the work-items, in
 * whole vectors. The sums of one reduction are looked at while the next one begins, so that nothing else may be there.
 */
namespace sycl::detail {

/// Lanes that add up the values of a group, by vectors of this many.
inline constexpr std::size_t reducing_lanes = 32;
inline constexpr std::size_t group_vector_size = 16;
/// The largest number that a group algorithm takes, and how many of them a value may consist of.
inline constexpr std::size_t largest_group_number = 8;
inline constexpr std::size_t most_group_numbers = 8;
/// Room of a group variable. Vectors stand behind it.
inline constexpr std::size_t group_variable_bytes = group_vector_size * largest_group_number;
inline constexpr std::size_t lane_sums_bytes = reducing_lanes * most_group_numbers * largest_group_number;

/// The largest value that a kernel's group algorithms take, in bytes.
template <typename Kernel, typename = void>
inline constexpr std::size_t group_value_bytes = largest_group_number;
template <typename Kernel>
inline constexpr std::size_t group_value_bytes<Kernel, std::void_t<decltype(Kernel::group_value_bytes)>> =
    Kernel::group_value_bytes;

/// Vectors that hold a number of each work-item; the last may be full in part.
constexpr std::size_t group_vectors(std::size_t local_size) {
    return (local_size + group_vector_size - 1) / group_vector_size;
}

/// From a row of the work-items' values to the next, a vector more than they take: rows that lie a multiple of a page
/// apart meet in the same places of a cache.
constexpr std::size_t group_row(std::size_t local_size) {
    return (group_vectors(local_size) + 1) * group_vector_size;
}

constexpr std::size_t group_scratch_bytes(std::size_t local_size, std::size_t value_bytes) {
    const std::size_t row = group_row(local_size);
    return group_variable_bytes + lane_sums_bytes + row * value_bytes;
}

} // namespace sycl::detail
