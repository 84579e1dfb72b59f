/**
 * \file group_tile.hpp
 * \brief The part of a row that a work-group handles in one pass, and how it comes into local memory.
 *
 * Kernels keep to one shape, because OpenCL compilers for CPUs fail outside it: no barrier and no group
 * operation stands under an `if`, not even under a uniform one, nor beside continue, break or return; lanes
 * differ by selects over valid indices only, and in one branch: work-item 0 stores.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief The tile of one group as one of its work-items sees it. */
struct group_tile {
    /** \param tail elements of the last group's tile, 0 if it is full */
    group_tile(const sycl::nd_item<1>& item, std::size_t n_groups, std::size_t tail, std::size_t local_size) {
        const std::size_t lid = item.get_local_id(0);
        const bool last_group = item.get_group(0) == n_groups - 1;
        // A tail of 0 wraps around and marks nothing.
        surplus = last_group && tail - 1 < lid;
        lane = surplus ? 0 : lid;
        n_valid = last_group && tail != 0 ? tail : local_size;
        begin = item.get_group(0) * local_size;
    }

    std::size_t begin;   /**< first element of the tile in its row */
    std::size_t n_valid; /**< elements of the row in the tile, at least 1; the same for the whole group */
    std::size_t lane;    /**< place of this work-item's element; a surplus work-item gets the first, never one
                            past an end */
    bool surplus;        /**< the row has no element for this work-item */
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

template <typename T>
T* local_pointer(const sycl::local_accessor<T, 1>& local) {
    return local.template get_multi_ptr<sycl::access::decorated::no>().get();
}

} // namespace aurelo::qtx::stats::detail::gpu
