/**
 * \file minmax_kernels.hpp
 * \brief Kernels of max, min and min_max. Their members are their arguments.
 *
 * Every kernel loops over the dimensions that the mask lets through and reduces one element per work-item and
 * reduction. The three differ in where the element comes from and where the group's result goes. The buffer form
 * stages contiguous elements in local memory, in one array per reduction; the USM form loads them directly.
 */
#pragma once

#include "dataset_view.hpp"
#include "group_tile.hpp"
#include "minmax_functors.hpp"
#include "storage.hpp"

#include <sycl/sycl.hpp>

#include <cstddef>
#include <type_traits>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief One value for each of one or two reductions. */
template <typename Value, std::size_t n>
struct per_reduction {
    static_assert(n == 1 || n == 2);

    template <std::size_t i>
    const Value& get() const {
        static_assert(i < n);
        if constexpr (i == 0) {
            return first;
        } else {
            return second;
        }
    }

    Value first;
    [[no_unique_address]] optional_member<n == 2, Value, 3> second{};
};

/** \brief Partial results of each reduction: `n_dims` rows, packed at the distance of the groups that left them. */
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

/** \brief Copies the tile of each reduction's source to its local array, all copies under way at once. Collective. */
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

    template <std::size_t>
    const Array& get() const {
        return array;
    }
};
template <typename Array>
common_source(const Array&) -> common_source<Array>;

/** \brief Reduces \p x over the group; work-item 0 stores the bounded result. Collective. */
template <typename Reduction, typename T, typename Target>
void reduce_and_store(const sycl::nd_item<1>& item, T x, const Target& target, std::size_t place) {
    const T result = sycl::reduce_over_group(item.get_group(), x, typename Reduction::operation{});
    if (item.get_local_id(0) == 0) {
        target[place] = Reduction::bound(result);
    }
}

/** \brief Reduces the tile's elements of dimension \p d. `target(index)` is where results of a reduction go. */
template <typename Functor, bool row_layout, typename Kernel, typename Target>
void reduce_observations(const Kernel& kernel, const sycl::nd_item<1>& item, const group_tile& tile,
                         std::size_t d, std::size_t place, const Target& target) {
    using T = typename Functor::element_type;
    const auto reduce = [&](auto index, auto reduction, T x) {
        using operation = decltype(reduction);
        // The bound drops a NaN, wherever it stands; a group operation leaves open what it gives.
        const T bounded = operation::bound(x);
        reduce_and_store<operation, T>(item, tile.surplus ? operation::neutral() : bounded, target(index),
                                       place);
    };
    if constexpr (!Functor::usm && row_layout) {
        stage_tiles<Functor>(kernel, item, common_source{kernel.helper.observations},
                             element_index<layout::by_dimension>(kernel.helper, d, tile.begin), tile.n_valid);
        for_each_reduction(typename Functor::reductions{}, [&](auto index, auto reduction) {
            reduce(index, reduction, local_of<index()>(kernel)[tile.lane]);
        });
    } else {
        const T x = kernel.helper.element(d, tile.element());
        for_each_reduction(typename Functor::reductions{},
                           [&](auto index, auto reduction) { reduce(index, reduction, x); });
    }
}

/** \brief Reduces the tile's partial results of dimension \p d. */
template <typename Functor, typename Kernel, typename Target>
void reduce_partials(const Kernel& kernel, const sycl::nd_item<1>& item, const group_tile& tile,
                     std::size_t d, std::size_t place, const Target& target) {
    using T = typename Functor::element_type;
    const std::size_t row = d * kernel.stride;
    if constexpr (!Functor::usm) {
        stage_tiles<Functor>(kernel, item, kernel.partials, row + tile.begin, tile.n_valid);
    }
    const auto partial = [&](auto index) -> T {
        if constexpr (Functor::usm) {
            return kernel.partials.template get<index()>()[row + tile.element()];
        } else {
            return local_of<index()>(kernel)[tile.lane];
        }
    };
    for_each_reduction(typename Functor::reductions{}, [&](auto index, auto reduction) {
        using operation = decltype(reduction);
        const T x = partial(index);
        reduce_and_store<operation, T>(item, tile.surplus ? operation::neutral() : x, target(index), place);
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
        const auto target = [this](auto index) -> const auto& {
            return functor.template output<index()>();
        };
        for (std::size_t d = 0; d < helper.n_dims; ++d) {
            if (helper.computes(d)) {
                reduce_observations<Functor, row_layout>(*this, item, tile, d, d, target);
            }
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
        const auto target = [this](auto index) -> const auto& {
            return partials.template get<index()>();
        };
        for (std::size_t d = 0; d < helper.n_dims; ++d) {
            if (helper.computes(d)) {
                reduce_observations<Functor, row_layout>(*this, item, tile, d,
                                                         d * n_groups + item.get_group(0), target);
            }
        }
    }
};

/**
 * \brief A later pass, over the partial results of the one before. The last pass, of one group, stores the results. An
 * intermediate pass has a target of its own, since other groups still read.
 */
template <typename Functor, bool row_layout, bool is_last, bool index_64>
struct minmax_kernel_next_step {
    using element_type = typename Functor::element_type;

    functor_helper<Functor, row_layout, index_64> helper;
    std::size_t n_groups;
    std::size_t tail;
    std::size_t local_size;
    std::size_t stride;
    minmax_partials<Functor, sycl::access_mode::read_write> partials;
    std::conditional_t<is_last, Functor, minmax_partials<Functor, sycl::access_mode::write>>
        functor_or_target;
    [[no_unique_address]] minmax_local<Functor, 0> local;
    [[no_unique_address]] minmax_local<Functor, 1> second_local;

    void operator()(sycl::nd_item<1> item) const {
        const group_tile tile(item, n_groups, tail, local_size);
        const auto target = [this](auto index) -> const auto& {
            if constexpr (is_last) {
                return functor_or_target.template output<index()>();
            } else {
                return functor_or_target.template get<index()>();
            }
        };
        for (std::size_t d = 0; d < helper.n_dims; ++d) {
            if (helper.computes(d)) {
                reduce_partials<Functor>(*this, item, tile, d, is_last ? d : d * n_groups + item.get_group(0),
                                         target);
            }
        }
    }
};

} // namespace aurelo::qtx::stats::detail::gpu
