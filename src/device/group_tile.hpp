/**
 * \file group_tile.hpp
 * \brief The part of a row that a work-group handles in one pass, and how it comes into local memory.
 *
 * Kernels keep to one shape, because OpenCL compilers for CPUs fail outside it: no barrier and no group
 * operation stands under an `if`, not even under a uniform one, nor beside continue, break or return; lanes
 * differ by selects over valid indices only, and in branches around a store: that of work-item 0, or of the surplus.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief The tile of one group. What differs between its work-items is worked out where it is needed, from the
 * local id as it stands there: a compiler that runs the work-items of a group in turn would otherwise keep it
 * for each of them in memory, from one barrier to the next.
 */
struct group_tile {
    /** \param tail elements of the last group's tile, 0 if it is full */
    group_tile(const sycl::nd_item<1>& item, std::size_t n_groups, std::size_t tail, std::size_t local_size)
        : begin(item.get_group(0) * local_size),
          n_valid(item.get_group(0) == n_groups - 1 && tail != 0 ? tail : local_size) {}

    /** \brief Whether the row has no element for this work-item. */
    bool surplus(const sycl::nd_item<1>& item) const { return item.get_local_id(0) >= n_valid; }

    /**
     * \brief Place of this work-item's element in the tile; a surplus work-item gets the first, never one past an
     * end.
     */
    std::size_t lane(const sycl::nd_item<1>& item) const { return surplus(item) ? 0 : item.get_local_id(0); }

    std::size_t begin;   /**< first element of the tile in its row */
    std::size_t n_valid; /**< elements of the row in the tile, at least 1 */
};

/**
 * \brief Begins the copy of \p count elements from \p offset of a buffer into local memory. All work-items
 * call it.
 */
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

/** \brief The same from device memory of a pointer. */
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

/**
 * \brief Copies \p tile from \p offset of a source into local memory; surplus lanes get 0. All work-items call it,
 * and find it done.
 */
template <typename T, typename Source>
void copy_tile(const sycl::nd_item<1>& item, const sycl::local_accessor<T, 1>& local,
               std::size_t local_offset, const Source& source, std::size_t offset, const group_tile& tile) {
    const auto copied = begin_copy(item, local, local_offset, source, offset, tile.n_valid);
    if (tile.surplus(item)) { // beyond what is copied
        local[local_offset + item.get_local_id(0)] = T(0);
    }
    item.wait_for(copied);
}

template <typename T>
T* local_pointer(const sycl::local_accessor<T, 1>& local) {
    return local.template get_multi_ptr<sycl::access::decorated::no>().get();
}

} // namespace aurelo::qtx::stats::detail::gpu
