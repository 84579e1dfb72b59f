/**
 * \file sum_totals.hpp
 * \brief The totals of an estimate: which ones it needs, and the record that kernels write and functors read.
 */
#pragma once

#include "group_tile.hpp"
#include "storage.hpp"

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief Orders that are accumulated beside the one that always is: S1, or C2 about a caller's mean, where
 * order2 is not used.
 */
struct order_flags {
    bool order2 = false;
    bool order3 = false;
    bool order4 = false;

    friend constexpr bool operator==(const order_flags&, const order_flags&) = default;
};

/** \brief Declaration of a functor whose orders never vary, so that kernels know them at compile time. */
template <bool order2, bool order3, bool order4>
struct fixed_orders {
    static constexpr bool is_fixed = true;
    static constexpr order_flags flags{order2, order3, order4};
};

/** \brief Declaration of a functor whose outputs decide; its `required_orders()` tells them. */
struct chosen_orders {
    static constexpr bool is_fixed = false;
};

/** \brief The orders of a functor, from its one declaration. */
template <typename Functor>
order_flags orders_of(const Functor& functor) {
    if constexpr (Functor::orders::is_fixed) {
        return Functor::orders::flags;
    } else {
        return functor.required_orders();
    }
}

/**
 * \brief Blocks of scratch to make room for: set by the highest order, so never less than the blocks in use.
 */
constexpr std::uint64_t block_capacity(const order_flags& orders, bool user_mean) {
    const std::uint64_t highest = orders.order4 ? 4 : orders.order3 ? 3 : orders.order2 ? 2 : 1;
    return user_mean && highest > 1 ? highest - 1 : highest;
}

/**
 * \brief The running totals of an estimate. Owns no storage; the scratch lies in buffers in both forms.
 *
 * Without \p user_mean these are S1 to S4, the sums of w x^k; with it C2 to C4, the sums of w (x - mean)^k, and block 0
 * is C2. `sums` holds a block of `block_stride` elements for each of them that is in use, in rising order: the block of
 * an order is its slot. In a pass of n groups the total of group j for dimension d is element `slot * block_stride +
 * d * n + j`; after the last pass the total of dimension d is element `slot * block_stride + d`. The sums of the weights
 * and of their squares exist once, not per dimension, and only for a dataset with weights.
 *
 * The member functions are collective: all work-items of a group call them. \p Orders says which orders are in use if
 * that is known at compile time.
 */
template <typename T, bool is_usm, bool user_mean>
struct sum_tmp_helper {
    using element_type = T;
    using scratch_access = device_accessor<T, sycl::access_mode::read_write>;
    using mean_array = array_of<T, is_usm, sycl::access_mode::read_write>;

    sum_tmp_helper(sycl::buffer<T, 1>& sum_blocks, sycl::buffer<T, 1>& weights,
                   sycl::buffer<T, 1>& weight_squares, bool order2, bool order3, bool order4, bool weighted,
                   unsigned long stride, long count) requires(!user_mean)
        : sums(sum_blocks), weight_sums(weights), weight_square_sums(weight_squares), has_order2(order2),
          has_order3(order3), has_order4(order4), has_weights(weighted), block_stride(stride),
          n_observations(count), slot_order2(order2), slot_order3(slot_order2 + order3),
          slot_order4(slot_order3 + order4), slot_weight(slot_order4 + weighted),
          slot_weight_square(slot_weight + weighted) {}

    /** \param means the caller's mean of each dimension */
    sum_tmp_helper(sycl::buffer<T, 1>& sum_blocks, sycl::buffer<T, 1>& weights,
                   sycl::buffer<T, 1>& weight_squares, array_argument<T, is_usm> means, bool order3,
                   bool order4, bool weighted, unsigned long stride, long count) requires user_mean
        : sums(sum_blocks),
          mean(means),
          weight_sums(weights),
          weight_square_sums(weight_squares),
          has_order3(order3),
          has_order4(order4),
          has_weights(weighted),
          block_stride(stride),
          n_observations(count),
          slot_order3(order3),
          slot_order4(slot_order3 + order4),
          slot_weight(slot_order4 + weighted),
          slot_weight_square(slot_weight + weighted) {}

    void set_requirements(sycl::handler& handler) const {
        handler.require(sums);
        handler.require(weight_sums);
        handler.require(weight_square_sums);
        if constexpr (user_mean && !is_usm) {
            handler.require(mean);
        }
    }

    /** \brief Blocks of local memory that a pass over totals needs: one for each of them, and at least those here. */
    std::uint64_t local_blocks() const {
        const std::uint64_t least = user_mean ? 3 : 4;
        return has_weights ? std::max<std::uint64_t>(least + 1, slot_weight_square + 1) : least;
    }

    /**
     * \brief Turns the tile of dimension \p d in \p local, where surplus elements are 0, into the group's totals.
     * \param w the weight of this work-item's element, 0 if it has none
     * \param first no dimension came before: the sums of the weights are formed, too
     */
    template <typename Orders = chosen_orders>
    void calculate(T* local, std::size_t d, sycl::nd_item<1> item, T w, std::size_t tail, bool first) const {
        const T x = local[item.get_local_id(0)];
        if constexpr (user_mean) {
            // The deviation of a surplus element would be that of 0 from the mean.
            const group_tile tile(item, item.get_group_range(0), tail, item.get_local_range(0));
            const T difference = x - mean[d];
            const T e = tile.surplus ? T(0) : difference;
            store_powers<Orders>(item, d, (e * w) * e, e);
        } else {
            store_powers<Orders>(item, d, x * w, x);
        }
        if (has_weights && first) {
            store_sum(item, w, weight_sums, item.get_group(0));
            store_sum(item, w * w, weight_square_sums, item.get_group(0));
        }
    }

    /** \brief Brings the group's tile of the previous pass's totals to local memory, a block for each of them. */
    template <typename Orders = chosen_orders>
    void load(sycl::local_accessor<T, 1> local, std::size_t d, sycl::nd_item<1> item, std::size_t tail,
              std::size_t stride, bool first) const {
        const std::size_t size = item.get_local_range(0);
        const group_tile tile(item, item.get_group_range(0), tail, size);
        for_each_slot<Orders>([&](std::size_t slot) {
            copy_tile(item, local, slot * size, sums, slot * block_stride + d * stride + tile.begin, tile);
        });
        if (has_weights && first) {
            copy_tile(item, local, slot_weight * size, weight_sums, tile.begin, tile);
            copy_tile(item, local, slot_weight_square * size, weight_square_sums, tile.begin, tile);
        }
    }

    /** \brief Sums the loaded tile and stores the group's totals. */
    template <typename Orders = chosen_orders>
    void merge(sycl::local_accessor<T, 1> local, std::size_t d, sycl::nd_item<1> item, bool first) const {
        const auto loaded = [&](std::size_t slot) {
            return local[slot * item.get_local_range(0) + item.get_local_id(0)];
        };
        for_each_slot<Orders>(
            [&](std::size_t slot) { store_sum(item, loaded(slot), sums, group_place(item, slot, d)); });
        if (has_weights && first) {
            store_sum(item, loaded(slot_weight), weight_sums, item.get_group(0));
            store_sum(item, loaded(slot_weight_square), weight_square_sums, item.get_group(0));
        }
    }

    scratch_access sums;
    [[no_unique_address]] optional_member<user_mean, mean_array, 0> mean;
    scratch_access weight_sums;
    scratch_access weight_square_sums;
    [[no_unique_address]] optional_member<!user_mean, bool, 1> has_order2;
    bool has_order3;
    bool has_order4;
    bool has_weights;
    std::uint64_t block_stride;
    std::int64_t n_observations;
    [[no_unique_address]] optional_member<!user_mean, std::uint64_t, 2> slot_order2;
    std::uint64_t slot_order3;
    std::uint64_t slot_order4;
    std::uint64_t slot_weight;
    std::uint64_t slot_weight_square;

private:
    template <typename Orders>
    order_flags flags() const {
        if constexpr (Orders::is_fixed) {
            return Orders::flags;
        } else if constexpr (user_mean) {
            return {false, has_order3, has_order4};
        } else {
            return {has_order2, has_order3, has_order4};
        }
    }

    /** \brief Calls `visit(slot)` for every block in use, in rising order. */
    template <typename Orders, typename Visit>
    void for_each_slot(const Visit& visit) const {
        const order_flags orders = flags<Orders>();
        visit(0);
        if constexpr (!user_mean) {
            if (orders.order2) {
                visit(slot_order2);
            }
        }
        if (orders.order3) {
            visit(slot_order3);
        }
        if (orders.order4) {
            visit(slot_order4);
        }
    }

    /** \brief Where this group stores its total of dimension \p d. */
    std::size_t group_place(const sycl::nd_item<1>& item, std::size_t slot, std::size_t d) const {
        return slot * block_stride + d * item.get_group_range(0) + item.get_group(0);
    }

    static void store_sum(const sycl::nd_item<1>& item, T value, const scratch_access& array,
                          std::size_t place) {
        const T sum = sycl::reduce_over_group(item.get_group(), value, T(0), sycl::plus<T>());
        if (item.get_local_id(0) == 0) {
            array[place] = sum;
        }
    }

    /** \brief Sums \p power, power * factor, power * factor * factor, ..., each formed from the one before. */
    template <typename Orders>
    void store_powers(const sycl::nd_item<1>& item, std::size_t d, T power, T factor) const {
        const order_flags orders = flags<Orders>();
        store_sum(item, power, sums, group_place(item, 0, d));
        if constexpr (!user_mean) {
            power *= factor;
            if (orders.order2) {
                store_sum(item, power, sums, group_place(item, slot_order2, d));
            }
        }
        power *= factor;
        if (orders.order3) {
            store_sum(item, power, sums, group_place(item, slot_order3, d));
        }
        power *= factor;
        if (orders.order4) {
            store_sum(item, power, sums, group_place(item, slot_order4, d));
        }
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
