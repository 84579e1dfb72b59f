/**
 * \file group_tile.hpp
 * \brief The part of a row that a work-group handles in one pass, and its copy to local memory.
 *
 * The work-items of a group differ by selects over valid indices, and in branches that hold a store and nothing else:
 * compilers for processors, which run the work-items of a group in turn, rely on it.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief The tile of a group as one of its work-items sees it. */
struct group_tile {
    /** \param tail elements of the last group's tile, 0 if it is full */
    group_tile(const sycl::nd_item<1>& item, std::size_t n_groups, std::size_t tail, std::size_t local_size)
        : begin(item.get_group(0) * local_size),
          n_valid(item.get_group(0) == n_groups - 1 && tail != 0 ? tail : local_size),
          surplus(item.get_local_id(0) >= n_valid), lane(surplus ? 0 : item.get_local_id(0)) {}

    /** \brief Index in the row of this work-item's element, or of a valid one. */
    std::size_t element() const { return begin + lane; }

    std::size_t begin;   /**< first element of the tile in its row */
    std::size_t n_valid; /**< elements of the row in the tile, at least 1 */
    bool surplus;        /**< the row has no element for this work-item */
    std::size_t lane; /**< place of this work-item's element in the tile; 0, which is valid, if it has none */
};

/** \brief Begins the copy of \p count elements of a buffer into local memory. Collective. */
template <typename T, sycl::access_mode mode>
auto begin_copy(const sycl::nd_item<1>& item, const sycl::local_accessor<T, 1>& local,
                std::size_t local_offset, const sycl::accessor<T, 1, mode, sycl::target::device>& source,
                std::size_t offset, std::size_t count) {
    return item.async_work_group_copy(local.template get_multi_ptr<sycl::access::decorated::yes>() +
                                          static_cast<std::ptrdiff_t>(local_offset),
                                      source.template get_multi_ptr<sycl::access::decorated::yes>() +
                                          static_cast<std::ptrdiff_t>(offset),
                                      count);
}

/** \brief The same from USM. */
template <typename T>
auto begin_copy(const sycl::nd_item<1>& item, const sycl::local_accessor<T, 1>& local,
                std::size_t local_offset, const T* source, std::size_t offset, std::size_t count) {
    return item.async_work_group_copy(
        local.template get_multi_ptr<sycl::access::decorated::yes>() +
            static_cast<std::ptrdiff_t>(local_offset),
        sycl::address_space_cast<sycl::access::address_space::global_space, sycl::access::decorated::yes>(
            source + offset),
        count);
}

/** \brief Copies \p tile from \p offset of a source to local memory; surplus elements become 0. Collective. */
template <typename T, typename Source>
void copy_tile(const sycl::nd_item<1>& item, const sycl::local_accessor<T, 1>& local,
               std::size_t local_offset, const Source& source, std::size_t offset, const group_tile& tile) {
    const auto copied = begin_copy(item, local, local_offset, source, offset, tile.n_valid);
    if (tile.surplus) { // beyond what is copied
        local[local_offset + item.get_local_id(0)] = T(0);
    }
    item.wait_for(copied);
}

} // namespace aurelo::qtx::stats::detail::gpu
