/**
 * \file sum_tmp_helper.hpp
 * \brief The running totals of an estimate: what the basic kernels write and functors read.
 *
 * `sums` holds blocks of `block_stride` elements, one block per total in use and packed by slot. In a pass of
 * n groups the result of group j for dimension d stands at `slot * block_stride + d * n + j`; after the last
 * pass the total of dimension d stands at `slot * block_stride + d`. The sums of weights exist once, not per
 * dimension.
 */
#pragma once

#include "basic_group.hpp"
#include "orders.hpp"
#include "select.hpp"
#include "storage.hpp"
#include "totals.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief Totals S1 to S4 of powers, or with \p user_mean C2 to C4 of deviations from a caller's mean, and the
 * sums of the weights and their squares. Owns no storage. The scratch lies in buffers in both forms.
 */
template <typename T, bool is_usm, bool user_mean>
struct sum_tmp_helper;

template <typename T, bool is_usm>
struct sum_tmp_helper<T, is_usm, false> {
    using element_type = T;
    using scratch_access = device_accessor<T, sycl::access_mode::read_write>;
    static constexpr bool has_user_mean = false;

    sum_tmp_helper(sycl::buffer<T, 1>& sum_blocks, sycl::buffer<T, 1>& weights,
                   sycl::buffer<T, 1>& weight_squares, bool order2, bool order3, bool order4, bool weighted,
                   unsigned long stride, long count)
        : sums(sum_blocks), weight_sums(weights), weight_square_sums(weight_squares), has_order2(order2),
          has_order3(order3), has_order4(order4), has_weights(weighted), block_stride(stride),
          n_observations(count), slot_order2(order2), slot_order3(slot_order2 + order3),
          slot_order4(slot_order3 + order4), slot_weight(slot_order4 + weighted),
          slot_weight_square(slot_weight + weighted) {}

    void set_requirements(sycl::handler& handler) const {
        handler.require(sums);
        handler.require(weight_sums);
        handler.require(weight_square_sums);
    }

    order_flags flags() const { return {has_order2, has_order3, has_order4}; }

    std::size_t slot_of(unsigned total) const {
        std::size_t slot = select<std::size_t>(total == 1, slot_order2, 0);
        slot = select<std::size_t>(total == 2, slot_order3, slot);
        slot = select<std::size_t>(total == 3, slot_order4, slot);
        slot = select<std::size_t>(total == weight_total, slot_weight, slot);
        return select<std::size_t>(total == weight_square_total, slot_weight_square, slot);
    }

    /**
     * \brief Turns the tile of dimension \p d into the group's totals. Surplus lanes hold 0 in \p local and
     * \p w.
     */
    template <typename Orders = chosen_orders>
    void calculate(T* local, std::size_t d, sycl::nd_item<1> item, T w, std::size_t, bool first) const {
        const T x = local[item.get_local_id(0)];
        store_totals<Orders>(*this, item, d, x * w, x, w, first);
    }

    /** \brief Brings the group's tile of the totals of the pass before into local memory. */
    template <typename Orders = chosen_orders>
    void load(sycl::local_accessor<T, 1> local, std::size_t d, sycl::nd_item<1> item, std::size_t tail,
              std::size_t stride, bool first) const {
        load_totals<Orders>(*this, local, d, item, tail, stride, first);
    }

    /** \brief Sums the loaded tile and stores the group's totals. */
    template <typename Orders = chosen_orders>
    void merge(sycl::local_accessor<T, 1> local, std::size_t d, sycl::nd_item<1> item, bool first) const {
        merge_totals<Orders>(*this, local, d, item, first);
    }

    scratch_access sums;
    scratch_access weight_sums;
    scratch_access weight_square_sums;
    bool has_order2;
    bool has_order3;
    bool has_order4;
    bool has_weights;
    std::uint64_t block_stride;
    std::int64_t n_observations;
    std::uint64_t slot_order2;
    std::uint64_t slot_order3;
    std::uint64_t slot_order4;
    std::uint64_t slot_weight;
    std::uint64_t slot_weight_square;
};

template <typename T, bool is_usm>
struct sum_tmp_helper<T, is_usm, true> {
    using element_type = T;
    using scratch_access = device_accessor<T, sycl::access_mode::read_write>;
    static constexpr bool has_user_mean = true;

    /** \param means the caller's mean of each dimension */
    sum_tmp_helper(sycl::buffer<T, 1>& sum_blocks, sycl::buffer<T, 1>& weights,
                   sycl::buffer<T, 1>& weight_squares, array_argument<T, is_usm> means, bool order3,
                   bool order4, bool weighted, unsigned long stride, long count)
        : sums(sum_blocks), mean(means), weight_sums(weights), weight_square_sums(weight_squares),
          has_order3(order3), has_order4(order4), has_weights(weighted), block_stride(stride),
          n_observations(count), slot_order3(order3), slot_order4(slot_order3 + order4),
          slot_weight(slot_order4 + weighted), slot_weight_square(slot_weight + weighted) {}

    void set_requirements(sycl::handler& handler) const {
        handler.require(sums);
        handler.require(weight_sums);
        handler.require(weight_square_sums);
        if constexpr (!is_usm) {
            handler.require(mean);
        }
    }

    order_flags flags() const { return {false, has_order3, has_order4}; }

    std::size_t slot_of(unsigned total) const {
        std::size_t slot = select<std::size_t>(total == 1, slot_order3, 0);
        slot = select<std::size_t>(total == 2, slot_order4, slot);
        slot = select<std::size_t>(total == weight_total, slot_weight, slot);
        return select<std::size_t>(total == weight_square_total, slot_weight_square, slot);
    }

    /** \brief As without a mean; the deviation of a surplus lane must be 0, not the negative mean. */
    template <typename Orders = chosen_orders>
    void calculate(T* local, std::size_t d, sycl::nd_item<1> item, T w, std::size_t tail, bool first) const {
        const group_tile tile(item, item.get_group_range(0), tail, item.get_local_range(0));
        const T e = select(tile.surplus(item), T(0), local[item.get_local_id(0)] - mean[d]);
        store_totals<Orders>(*this, item, d, (e * w) * e, e, w, first);
    }

    template <typename Orders = chosen_orders>
    void load(sycl::local_accessor<T, 1> local, std::size_t d, sycl::nd_item<1> item, std::size_t tail,
              std::size_t stride, bool first) const {
        load_totals<Orders>(*this, local, d, item, tail, stride, first);
    }

    template <typename Orders = chosen_orders>
    void merge(sycl::local_accessor<T, 1> local, std::size_t d, sycl::nd_item<1> item, bool first) const {
        merge_totals<Orders>(*this, local, d, item, first);
    }

    scratch_access sums;
    array_of<T, is_usm, sycl::access_mode::read_write> mean;
    scratch_access weight_sums;
    scratch_access weight_square_sums;
    bool has_order3;
    bool has_order4;
    bool has_weights;
    std::uint64_t block_stride;
    std::int64_t n_observations;
    std::uint64_t slot_order3;
    std::uint64_t slot_order4;
    std::uint64_t slot_weight;
    std::uint64_t slot_weight_square;
};

} // namespace aurelo::qtx::stats::detail::gpu
