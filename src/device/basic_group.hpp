/**
 * \file basic_group.hpp
 * \brief Group operations on totals: form them from a tile, load those of the pass before, merge them.
 */
#pragma once

#include "group_tile.hpp"
#include "select.hpp"
#include "totals.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>
#include <utility>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief The scratch array that holds \p total. */
template <typename Tmp>
auto* total_array(const Tmp& tmp, unsigned total) {
    const auto pointer = [](const auto& array) {
        return array.template get_multi_ptr<sycl::access::decorated::no>().get();
    };
    auto* array = pointer(tmp.sums);
    array = select(total == weight_total, pointer(tmp.weight_sums), array);
    return select(total == weight_square_total, pointer(tmp.weight_square_sums), array);
}

/**
 * \brief Where in its array the row of \p total and dimension \p d begins, in a packing of \p n results per
 * row.
 */
template <typename Tmp>
std::size_t total_row(const Tmp& tmp, unsigned total, std::size_t slot, std::size_t d, std::size_t n) {
    return select<std::size_t>(total < weight_total, slot * tmp.block_stride + d * n, 0);
}

/**
 * \brief Sums \p value over the group and stores it as the group's result for \p total. All work-items call
 * it.
 */
template <typename Tmp, typename T>
void sum_and_store(const Tmp& tmp, const sycl::nd_item<1>& item, unsigned total, std::size_t slot,
                   std::size_t d, T value) {
    T* const array = total_array(tmp, total);
    const std::size_t place = total_row(tmp, total, slot, d, item.get_group_range(0)) + item.get_group(0);
    const T sum = sycl::reduce_over_group(item.get_group(), value, T(0), sycl::plus<T>{});
    if (item.get_local_id(0) == 0) {
        array[place] = sum;
    }
}

/** \brief Those of all \p totals that are summed at once. */
template <typename Orders, bool user_mean, typename T, std::size_t... k>
sycl::marray<T, sizeof...(k)> pick_totals(const sycl::marray<T, n_totals>& totals,
                                          std::index_sequence<k...>) {
    constexpr total_set set = totals_at_once<Orders, user_mean>();
    return sycl::marray<T, sizeof...(k)>(totals[total_in(set, k)]...);
}

/**
 * \brief Stores a group's sums, the dimension's and those of the weights, where they are in use. Straight on,
 * without a branch: what has no place of its own goes where the first sum goes, and is it.
 */
template <typename Orders, typename Tmp, typename T, std::size_t n, std::size_t... k>
void store_sums(const Tmp& tmp, const sycl::nd_item<1>& item, std::size_t d, const sycl::marray<T, n>& sums,
                bool with_weights, std::index_sequence<k...>) {
    constexpr total_set candidates = totals_at_once<Orders, Tmp::has_user_mean>();
    const total_set used =
        total_set_of(tmp.flags(), Tmp::has_user_mean) | select(with_weights, weight_totals, total_set(0));
    const auto store = [&](unsigned total, T sum) {
        const bool in_use = (used >> total & 1u) != 0;
        const unsigned stored = select(in_use, total, 0u);
        const std::size_t place =
            total_row(tmp, stored, tmp.slot_of(stored), d, item.get_group_range(0)) + item.get_group(0);
        total_array(tmp, stored)[place] = select(in_use, sum, sums[0]);
    };
    (store(total_in(candidates, k), sums[k]), ...);
}

/**
 * \brief Forms the totals of one element per work-item: the chain \p term, term * factor, term * factor *
 * factor, ..., each power from the one before, and the weights, which count on the first dimension. One reduction
 * for all of them: its barriers cost more than sums that nobody needs. All work-items call it.
 */
template <typename Orders, typename Tmp, typename T>
void store_totals(const Tmp& tmp, const sycl::nd_item<1>& item, std::size_t d, T term, T factor, T w,
                  bool first) {
    constexpr std::size_t n = n_totals_at_once<Orders, Tmp::has_user_mean>;
    const T power1 = term * factor;
    const T power2 = power1 * factor;
    const auto slots = std::make_index_sequence<n>();
    const auto values = pick_totals<Orders, Tmp::has_user_mean>(
        sycl::marray<T, n_totals>(term, power1, power2, power2 * factor, w, w * w), slots);
    const auto sums =
        sycl::reduce_over_group(item.get_group(), values, sycl::marray<T, n>(T(0)), sycl::plus<>{});
    if (item.get_local_id(0) == 0) {
        store_sums<Orders>(tmp, item, d, sums, tmp.has_weights && first, slots);
    }
}

/**
 * \brief Copies the group's tile of every total in use into its block of local memory; surplus lanes get 0.
 */
template <typename Orders, typename Tmp, typename T>
void load_totals(const Tmp& tmp, const sycl::local_accessor<T, 1>& local, std::size_t d,
                 const sycl::nd_item<1>& item, std::size_t tail, std::size_t stride, bool first) {
    const std::size_t local_size = item.get_local_range(0);
    const group_tile tile(item, item.get_group_range(0), tail, local_size);
    for_each_total<Orders>(tmp, tmp.has_weights && first, [&](unsigned total, std::size_t slot) {
        const T* const array = total_array(tmp, total);
        const std::size_t row = total_row(tmp, total, slot, d, stride);
        const std::size_t block = slot * local_size;
        copy_tile(item, local, block, array, row + tile.begin, tile);
    });
}

/** \brief Sums every loaded block over the group and stores the results in the packing of this pass. */
template <typename Orders, typename Tmp, typename T>
void merge_totals(const Tmp& tmp, const sycl::local_accessor<T, 1>& local, std::size_t d,
                  const sycl::nd_item<1>& item, bool first) {
    const std::size_t local_size = item.get_local_range(0);
    for_each_total<Orders>(tmp, tmp.has_weights && first, [&](unsigned total, std::size_t slot) {
        sum_and_store(tmp, item, total, slot, d, local[slot * local_size + item.get_local_id(0)]);
    });
}

} // namespace aurelo::qtx::stats::detail::gpu
