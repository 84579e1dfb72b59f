/**
 * \file basic_kernels.hpp
 * \brief Kernels of all estimates that are made of sums.
 *
 * Members are the kernel's arguments. Every kernel walks the unmasked dimensions; the first of them also
 * carries the sums of the weights. The last kernel of a plan hands the totals of each dimension to the
 * functor, which all work-items evaluate on the same values.
 */
#pragma once

#include "dataset_helper.hpp"
#include "dimension_walk.hpp"
#include "group_tile.hpp"
#include "select.hpp"
#include "storage.hpp"
#include "sum_tmp_helper.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

template <typename Functor>
using functor_tmp = sum_tmp_helper<typename Functor::element_type, Functor::usm, Functor::user_mean>;

/** \brief What the first kernel of a plan sums at once. */
template <typename Functor>
inline constexpr std::size_t
    bytes_of_totals = n_totals_at_once<typename Functor::orders, Functor::user_mean> *
                      sizeof(typename Functor::element_type);

/** \brief Brings the tile of dimension \p d into local memory; surplus lanes get 0. */
template <bool row_layout, typename Helper, typename T>
void fetch_tile(const Helper& helper, const sycl::local_accessor<T, 1>& local, const sycl::nd_item<1>& item,
                const group_tile& tile, std::size_t d) {
    if constexpr (row_layout) {
        copy_tile(item, local, 0, helper.observations,
                  element_index<layout::by_dimension>(helper, d, tile.begin), tile);
    } else {
        local[item.get_local_id(0)] =
            select(tile.surplus(item), T(0), helper.element(d, tile.begin + tile.lane(item)));
    }
    sycl::group_barrier(item.get_group(), sycl::memory_scope::work_group);
}

/** \brief Finishes dimension \p d, whose totals work-item 0 has just stored, and which it stores, too. */
template <typename Functor>
void finish(const Functor& functor, const functor_tmp<Functor>& tmp, const sycl::nd_item<1>& item,
            std::size_t d) {
    sycl::group_barrier(item.get_group(), sycl::memory_scope::device);
    functor(tmp, d, item.get_local_id(0) == 0);
}

/** \brief One group, one work-item per observation: the whole estimate. */
template <typename Functor, bool row_layout, bool index_64>
struct basic_kernel_single_step {
    using element_type = typename Functor::element_type;
    static constexpr std::size_t group_value_bytes = bytes_of_totals<Functor>;

    functor_helper<Functor, row_layout, index_64> helper;
    sycl::local_accessor<element_type, 1> local;
    std::size_t local_size;
    functor_tmp<Functor> tmp;
    Functor functor;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, 1, 0, local_size);
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const auto [d, first, exists] = walk.next();
            fetch_tile<row_layout>(helper, local, item, tile, d);
            tmp.template calculate<typename Functor::orders>(local_pointer(local), d, item,
                                                             helper.get_weight(tile.lane(item)), 0, first);
            finish(functor, tmp, item, d);
        }
    }
};

/** \brief The first of several passes: totals of each group. */
template <typename Functor, bool row_layout, bool index_64>
struct basic_kernel_first_step {
    using element_type = typename Functor::element_type;
    static constexpr std::size_t group_value_bytes = bytes_of_totals<Functor>;

    functor_helper<Functor, row_layout, index_64> helper;
    sycl::local_accessor<element_type, 1> local;
    std::size_t local_size;
    std::size_t n_groups;
    std::size_t tail;
    functor_tmp<Functor> tmp;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, n_groups, tail, local_size);
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const auto [d, first, exists] = walk.next();
            fetch_tile<row_layout>(helper, local, item, tile, d);
            const element_type weight = helper.get_weight(tile.begin + tile.lane(item));
            tmp.template calculate<typename Functor::orders>(
                local_pointer(local), d, item, select(tile.surplus(item), element_type(0), weight), tail,
                first);
        }
    }
};

/** \brief A later pass, over the totals of the one before. */
template <typename Functor, bool row_layout, bool is_last, bool index_64>
struct basic_kernel_next_step;

/**
 * \brief The last pass. One group may work in place: a row is loaded before its total is stored over its
 * front.
 */
template <typename Functor, bool row_layout, bool index_64>
struct basic_kernel_next_step<Functor, row_layout, true, index_64> {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    functor_tmp<Functor> tmp;
    sycl::local_accessor<element_type, 1> local;
    std::size_t tail;
    std::size_t stride;
    Functor functor;

    void operator()(sycl::nd_item<1> item) const {
        using orders = typename Functor::orders;
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const auto [d, first, exists] = walk.next();
            tmp.template load<orders>(local, d, item, tail, stride, first);
            tmp.template merge<orders>(local, d, item, first);
            finish(functor, tmp, item, d);
        }
    }
};

/** \brief An intermediate pass. Its totals go to scratch of their own: other groups still read the source. */
template <typename Functor, bool row_layout, bool index_64>
struct basic_kernel_next_step<Functor, row_layout, false, index_64> {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    functor_tmp<Functor> tmp;
    sycl::local_accessor<element_type, 1> local;
    std::size_t tail;
    std::size_t stride;
    functor_tmp<Functor> target;

    void operator()(sycl::nd_item<1> item) const {
        using orders = typename Functor::orders;
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const auto [d, first, exists] = walk.next();
            tmp.template load<orders>(local, d, item, tail, stride, first);
            target.template merge<orders>(local, d, item, first);
        }
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
