/**
 * \file basic_kernels.hpp
 * \brief Kernels of the estimates that are made of sums. Their members are their arguments.
 *
 * Every kernel loops over the dimensions that the mask lets through. Each pass leaves the totals of its groups; the
 * pass of one group, a single step or the last step, hands the totals of each dimension to the functor.
 */
#pragma once

#include "dataset_view.hpp"
#include "group_tile.hpp"
#include "sum_totals.hpp"

#include <sycl/sycl.hpp>

#include <concepts>
#include <cstddef>
#include <type_traits>

namespace aurelo::qtx::stats::detail::gpu {

template <typename Functor>
using functor_tmp = sum_tmp_helper<typename Functor::element_type, Functor::usm, Functor::user_mean>;

/**
 * \brief What finishes an estimate of sums: `functor(tmp, d)` turns the totals of dimension d into results and stores
 * them. One work-item of the last group calls it.
 *
 * Members: `element_type`, the type of data, totals and results; `usm`, whether data and outputs are pointers;
 * `user_mean`, whether totals are about a caller's mean; `orders`, a fixed_orders, or chosen_orders with a
 * `required_orders()`; `estimate`, the name that errors use. A functor of buffers has `set_requirements(handler)`.
 */
template <typename Functor>
concept totals_functor = std::is_arithmetic_v<typename Functor::element_type> &&
    requires(const Functor& functor, const functor_tmp<Functor>& tmp, unsigned long d) {
    { Functor::estimate } -> std::convertible_to<const char*>;
    { orders_of(functor) } -> std::same_as<order_flags>;
    { functor(tmp, d) } -> std::same_as<void>;
};

/** \brief Brings the tile of dimension \p d to local memory; surplus elements become 0. Collective. */
template <bool row_layout, typename Helper, typename T>
void fetch_tile(const Helper& helper, const sycl::local_accessor<T, 1>& local, const sycl::nd_item<1>& item,
                const group_tile& tile, std::size_t d) {
    if constexpr (row_layout) {
        copy_tile(item, local, 0, helper.observations,
                  element_index<layout::by_dimension>(helper, d, tile.begin), tile);
    } else {
        const T x = helper.element(d, tile.element());
        local[item.get_local_id(0)] = tile.surplus ? T(0) : x;
    }
    sycl::group_barrier(item.get_group(), sycl::memory_scope::work_group);
}

/** \brief Hands dimension \p d, whose totals work-item 0 has just stored, to the functor. Collective. */
template <typename Functor>
void finish(const Functor& functor, const functor_tmp<Functor>& tmp, const sycl::nd_item<1>& item,
            std::size_t d) {
    sycl::group_barrier(item.get_group(), sycl::memory_scope::device);
    if (item.get_local_id(0) == 0) {
        functor(tmp, d);
    }
}

template <typename T>
T* local_pointer(const sycl::local_accessor<T, 1>& local) {
    return local.template get_multi_ptr<sycl::access::decorated::no>().get();
}

/** \brief One group, one work-item per observation: the whole estimate. */
template <typename Functor, bool row_layout, bool index_64>
struct basic_kernel_single_step {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    sycl::local_accessor<element_type, 1> local;
    std::size_t local_size;
    functor_tmp<Functor> tmp;
    Functor functor;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, 1, 0, local_size);
        const element_type weight = helper.get_weight(tile.element());
        bool first = true;
        for (std::size_t d = 0; d < helper.n_dims; ++d) {
            if (!helper.computes(d)) {
                continue;
            }
            fetch_tile<row_layout>(helper, local, item, tile, d);
            tmp.template calculate<typename Functor::orders>(local_pointer(local), d, item, weight, 0, first);
            finish(functor, tmp, item, d);
            first = false;
        }
    }
};

/** \brief The first of several passes: totals of each group. */
template <typename Functor, bool row_layout, bool index_64>
struct basic_kernel_first_step {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    sycl::local_accessor<element_type, 1> local;
    std::size_t local_size;
    std::size_t n_groups;
    std::size_t tail;
    functor_tmp<Functor> tmp;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, n_groups, tail, local_size);
        const element_type valid_weight = helper.get_weight(tile.element());
        const element_type weight = tile.surplus ? element_type(0) : valid_weight;
        bool first = true;
        for (std::size_t d = 0; d < helper.n_dims; ++d) {
            if (!helper.computes(d)) {
                continue;
            }
            fetch_tile<row_layout>(helper, local, item, tile, d);
            tmp.template calculate<typename Functor::orders>(local_pointer(local), d, item, weight, tail,
                                                             first);
            first = false;
        }
    }
};

/**
 * \brief A later pass, over the totals of the one before. The last pass, of one group, works in place: it loads a row
 * before it stores the row's total. An intermediate pass has a target of its own, since other groups still read.
 */
template <typename Functor, bool row_layout, bool is_last, bool index_64>
struct basic_kernel_next_step {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    functor_tmp<Functor> tmp;
    sycl::local_accessor<element_type, 1> local;
    std::size_t tail;
    std::size_t stride;
    std::conditional_t<is_last, Functor, functor_tmp<Functor>> functor_or_target;

    void operator()(sycl::nd_item<1> item) const {
        using orders = typename Functor::orders;
        bool first = true;
        for (std::size_t d = 0; d < helper.n_dims; ++d) {
            if (!helper.computes(d)) {
                continue;
            }
            tmp.template load<orders>(local, d, item, tail, stride, first);
            if constexpr (is_last) {
                tmp.template merge<orders>(local, d, item, first);
                finish(functor_or_target, tmp, item, d);
            } else {
                functor_or_target.template merge<orders>(local, d, item, first);
            }
            first = false;
        }
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
