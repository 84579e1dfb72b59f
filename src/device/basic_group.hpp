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

/**
 * \brief Forms the totals of one element per work-item: the chain \p term, term * factor, term * factor *
 * factor, ..., each power from the one before, and the weights on the first dimension.
 */
template <typename Orders, typename Tmp, typename T>
void store_totals(const Tmp& tmp, const sycl::nd_item<1>& item, std::size_t d, T term, T factor, T w,
                  bool first) {
    const T power1 = term * factor;
    const T power2 = power1 * factor;
    const T power3 = power2 * factor;
    for_each_total<Orders>(tmp, tmp.has_weights && first, [&](unsigned total, std::size_t slot) {
        T value = select(total == 1, power1, term);
        value = select(total == 2, power2, value);
        value = select(total == 3, power3, value);
        value = select(total == weight_total, w, value);
        value = select(total == weight_square_total, w * w, value);
        sum_and_store(tmp, item, total, slot, d, value);
    });
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
        item.wait_for(begin_copy(item, local, block, array, row + tile.begin, tile.n_valid));
        const std::size_t own = block + item.get_local_id(0);
        local[own] = select(tile.surplus, T(0), T(local[own]));
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
