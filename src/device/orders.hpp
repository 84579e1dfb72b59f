/**
 * \file orders.hpp
 * \brief Which totals an estimate needs, and what follows from that.
 */
#pragma once

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

} // namespace aurelo::qtx::stats::detail::gpu
