/**
 * \file minmax_kernels.hpp
 * \brief Kernels of max, min and min_max.
 *
 * Every kernel walks the unmasked dimensions and reduces one element per work-item and reduction. The three
 * differ in where the element comes from and where the group's result goes. Members are the kernel's
 * arguments. The buffer form stages contiguous elements in local memory, one array per reduction; the USM
 * form loads directly.
 */
#pragma once

#include "dataset_helper.hpp"
#include "dimension_walk.hpp"
#include "group_tile.hpp"
#include "reductions.hpp"
#include "select.hpp"
#include "storage.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief Partial results of each reduction: `n_dims` rows, packed at the distance of the groups that left
 * them.
 */
template <typename Functor, sycl::access_mode mode>
using minmax_partials =
    per_reduction<array_of<typename Functor::element_type, Functor::usm, mode>, Functor::reductions::size>;

/** \brief The local array of reduction \p i, in kernels that stage elements. */
template <typename Functor, std::size_t i>
using minmax_local = optional_member<(!Functor::usm && i < Functor::reductions::size),
                                     sycl::local_accessor<typename Functor::element_type, 1>, i>;

/** \brief Local array \p i of a kernel with `local` and `second_local`. */
template <std::size_t i, typename Kernel>
const auto& local_of(const Kernel& kernel) {
    if constexpr (i == 0) {
        return kernel.local;
    } else {
        return kernel.second_local;
    }
}

/**
 * \brief Copies the tile of each reduction's source into its local array; all copies are under way before the
 * first wait.
 */
template <typename Functor, typename Kernel, typename Source>
void stage_tiles(const Kernel& kernel, const sycl::nd_item<1>& item, const Source& source, std::size_t offset,
                 std::size_t count) {
    const auto first = begin_copy(item, kernel.local, 0, source.template get<0>(), offset, count);
    if constexpr (Functor::reductions::size == 2) {
        const auto second = begin_copy(item, kernel.second_local, 0, source.template get<1>(), offset, count);
        item.wait_for(first, second);
    } else {
        item.wait_for(first);
    }
}

/** \brief The observations as the source of every reduction. */
template <typename Array>
struct common_source {
    const Array& array;

    template <std::size_t i>
    const Array& get() const {
        return array;
    }
};
template <typename Array>
common_source(const Array&) -> common_source<Array>;

/** \brief Reduces \p x over the group and stores the bounded result. All work-items call it. */
template <typename Reduction, typename T, typename Target>
void reduce_and_store(const sycl::nd_item<1>& item, T x, const Target& target, std::size_t position) {
    const T result = sycl::reduce_over_group(item.get_group(), x, typename Reduction::operation{});
    if (item.get_local_id(0) == 0) {
        target[position] = Reduction::bound(result);
    }
}

/**
 * \brief Reduces the tile's elements of dimension \p d of the observations; `target(index)` is where results
 * go.
 */
template <typename Functor, bool row_layout, typename Kernel, typename Target>
void reduce_observations(const Kernel& kernel, const sycl::nd_item<1>& item, const group_tile& tile,
                         std::size_t d, std::size_t position, const Target& target) {
    constexpr bool staged = !Functor::usm && row_layout;
    if constexpr (staged) {
        stage_tiles<Functor>(kernel, item, common_source{kernel.helper.observations},
                             element_index<layout::by_dimension>(kernel.helper, d, tile.begin), tile.n_valid);
    }
    for_each_reduction(typename Functor::reductions{}, [&](auto index, auto reduction) {
        using reduction_type = decltype(reduction);
        using T = typename Functor::element_type;
        T x;
        if constexpr (staged) {
            x = local_of<index()>(kernel)[tile.lane(item)];
        } else {
            x = kernel.helper.element(d, tile.begin + tile.lane(item));
        }
        // The bound passes over a NaN, wherever it stands; the group operation alone would leave that open.
        const T bounded = reduction_type::bound(x);
        reduce_and_store<reduction_type, T>(
            item, select(tile.surplus(item), reduction_type::neutral(), bounded), target(index), position);
    });
}

/** \brief Reduces the tile's partial results of dimension \p d. */
template <typename Functor, typename Kernel, typename Target>
void reduce_partials(const Kernel& kernel, const sycl::nd_item<1>& item, const group_tile& tile,
                     std::size_t d, std::size_t position, const Target& target) {
    const std::size_t row = d * kernel.stride + tile.begin;
    if constexpr (!Functor::usm) {
        stage_tiles<Functor>(kernel, item, kernel.partials, row, tile.n_valid);
    }
    for_each_reduction(typename Functor::reductions{}, [&](auto index, auto reduction) {
        using reduction_type = decltype(reduction);
        using T = typename Functor::element_type;
        T x;
        if constexpr (Functor::usm) {
            x = kernel.partials.template get<index()>()[row + tile.lane(item)];
        } else {
            x = local_of<index()>(kernel)[tile.lane(item)];
        }
        reduce_and_store<reduction_type, T>(item, select(tile.surplus(item), reduction_type::neutral(), x),
                                            target(index), position);
    });
}

/** \brief One group, one work-item per observation: the whole reduction. */
template <typename Functor, bool row_layout, bool index_64>
struct minmax_kernel_single_step {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    Functor functor;
    [[no_unique_address]] minmax_local<Functor, 0> local;
    [[no_unique_address]] minmax_local<Functor, 1> second_local;
    [[no_unique_address]] optional_member<!Functor::usm, std::size_t, 2> local_size;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, 1, 0, item.get_local_range(0));
        const auto target_of = [this](auto index) -> const auto& {
            return functor.template output<index()>();
        };
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const std::size_t d = walk.next().dimension;
            reduce_observations<Functor, row_layout>(*this, item, tile, d, d, target_of);
        }
    }
};

/** \brief The first of several passes: one partial result per group. */
template <typename Functor, bool row_layout, bool index_64>
struct minmax_kernel_first_step {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    std::size_t n_groups;
    std::size_t tail;
    std::size_t local_size;
    minmax_partials<Functor, sycl::access_mode::write> partials;
    [[no_unique_address]] minmax_local<Functor, 0> local;
    [[no_unique_address]] minmax_local<Functor, 1> second_local;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, n_groups, tail, local_size);
        const auto target_of = [this](auto index) -> const auto& {
            return partials.template get<index()>();
        };
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const std::size_t d = walk.next().dimension;
            reduce_observations<Functor, row_layout>(*this, item, tile, d, d * n_groups + item.get_group(0),
                                                     target_of);
        }
    }
};

/** \brief A later pass, over the partial results of the one before. */
template <typename Functor, bool row_layout, bool is_last, bool index_64>
struct minmax_kernel_next_step;

/** \brief The last pass: one group that stores the results. */
template <typename Functor, bool row_layout, bool index_64>
struct minmax_kernel_next_step<Functor, row_layout, true, index_64> {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    std::size_t n_groups;
    std::size_t tail;
    std::size_t local_size;
    std::size_t stride;
    minmax_partials<Functor, sycl::access_mode::read_write> partials;
    Functor functor;
    [[no_unique_address]] minmax_local<Functor, 0> local;
    [[no_unique_address]] minmax_local<Functor, 1> second_local;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, n_groups, tail, local_size);
        const auto target_of = [this](auto index) -> const auto& {
            return functor.template output<index()>();
        };
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const std::size_t d = walk.next().dimension;
            reduce_partials<Functor>(*this, item, tile, d, d, target_of);
        }
    }
};

/** \brief An intermediate pass. Its results go to arrays of their own: other groups still read the source. */
template <typename Functor, bool row_layout, bool index_64>
struct minmax_kernel_next_step<Functor, row_layout, false, index_64> {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    std::size_t n_groups;
    std::size_t tail;
    std::size_t local_size;
    std::size_t stride;
    minmax_partials<Functor, sycl::access_mode::read_write> partials;
    minmax_partials<Functor, sycl::access_mode::write> target;
    [[no_unique_address]] minmax_local<Functor, 0> local;
    [[no_unique_address]] minmax_local<Functor, 1> second_local;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, n_groups, tail, local_size);
        const auto target_of = [this](auto index) -> const auto& {
            return target.template get<index()>();
        };
        dimension_walk walk(helper, item);
        while (walk.goes_on()) {
            const std::size_t d = walk.next().dimension;
            reduce_partials<Functor>(*this, item, tile, d, d * n_groups + item.get_group(0), target_of);
        }
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
