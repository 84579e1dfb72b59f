/**
 * \file dimension_walk.hpp
 * \brief The walk of a work-group over the dimensions that the mask lets through.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief A dimension of a walk. */
struct walk_step {
    std::size_t dimension;
    bool first;  /**< no other came before it */
    bool exists; /**< the walk has not ended */
};

/**
 * \brief All work-items of a group walk together: `while (walk.goes_on()) { const walk_step here = walk.next(); ... }`,
 * with a group operation behind every next().
 */
template <typename Helper>
class dimension_walk {
public:
    dimension_walk(const Helper& helper, const sycl::nd_item<1>& item)
        : helper_(helper), ahead_(item.get_group(), step_from(0)) {}

    bool goes_on() const { return ahead_.peek().exists; }

    walk_step next() {
        const walk_step here = ahead_.get();
        ahead_.set(step_from(here.dimension + 1));
        return here;
    }

private:
    walk_step step_from(std::size_t d) const {
        const std::size_t dimension = helper_.next_dimension(d);
        return {dimension, d == 0, dimension < helper_.n_dims};
    }

    const Helper& helper_;
    sycl::ext::aurelo::group_variable<walk_step> ahead_;
};

} // namespace aurelo::qtx::stats::detail::gpu
