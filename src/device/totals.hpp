/**
 * \file totals.hpp
 * \brief The totals of a dimension inside a kernel: which are in use, and the walk over them.
 *
 * A total has a number: 0 for the block that is always in use, 1 to 3 for those that take one to three
 * factors more, then the sums of weights and of squared weights. Its slot is its place among those in use.
 */
#pragma once

#include "orders.hpp"

#include <bit>
#include <cstddef>

namespace aurelo::qtx::stats::detail::gpu {

inline constexpr unsigned weight_total = 4;
inline constexpr unsigned weight_square_total = 5;
inline constexpr unsigned n_totals = 6;

/** \brief Set of totals: bit t stands for total t. */
using total_set = unsigned;
inline constexpr total_set base_total = 1u;
inline constexpr total_set weight_totals = 1u << weight_total | 1u << weight_square_total;

constexpr total_set total_set_of(const order_flags& orders, bool user_mean) {
    const unsigned powers = (orders.order2 ? 1u : 0u) | (orders.order3 ? 2u : 0u) | (orders.order4 ? 4u : 0u);
    // About a caller's mean the chain begins one order later.
    return base_total | (user_mean ? powers & 6u : powers << 1);
}

/** \brief Number of totals of \p set below \p total: its slot, if everything of the set is in use. */
constexpr std::size_t slot_in(total_set set, unsigned total) {
    std::size_t slot = 0;
    for (unsigned t = 0; t < total; ++t) {
        slot += set >> t & 1u;
    }
    return slot;
}

/** \brief The lowest total of \p set, without a branch: OpenCL compilers for CPUs merge a search with the loop
 * around it, and fail. */
constexpr unsigned lowest_total(total_set set) {
    return static_cast<unsigned>(std::popcount((set & (~set + 1)) - 1));
}

/**
 * \brief The totals that the first kernel of a plan forms: those that the functor may need of a dimension, all of
 * its kind if its outputs decide, and the weights'.
 */
template <typename Orders, bool user_mean>
constexpr total_set totals_at_once() {
    if constexpr (Orders::is_fixed) {
        return total_set_of(Orders::flags, user_mean) | weight_totals;
    } else {
        return total_set_of({true, true, true}, user_mean) | weight_totals;
    }
}

template <typename Orders, bool user_mean>
inline constexpr std::size_t n_totals_at_once = std::popcount(totals_at_once<Orders, user_mean>());

/** \brief The total at \p slot of \p set. */
constexpr unsigned total_in(total_set set, std::size_t slot) {
    for (; slot > 0; --slot) {
        set &= set - 1;
    }
    return lowest_total(set);
}

/**
 * \brief Calls `visit(total, slot)` for every total in use. All work-items make the same calls, which may
 * hold group operations: fixed orders stand in a straight line, and whatever depends on run-time flags in one
 * loop that always runs at least once, since a barrier under a flag breaks OpenCL compilers for CPUs.
 */
template <typename Orders, typename Tmp, typename Visit>
void for_each_total(const Tmp& tmp, bool with_weights, const Visit& visit) {
    total_set looped = base_total | (with_weights ? weight_totals : 0u);
    if constexpr (Orders::is_fixed) {
        constexpr total_set fixed = total_set_of(Orders::flags, Tmp::has_user_mean);
        if constexpr ((fixed & 2u) != 0) {
            visit(1u, slot_in(fixed, 1));
        }
        if constexpr ((fixed & 4u) != 0) {
            visit(2u, slot_in(fixed, 2));
        }
        if constexpr ((fixed & 8u) != 0) {
            visit(3u, slot_in(fixed, 3));
        }
    } else {
        looped |= total_set_of(tmp.flags(), Tmp::has_user_mean);
    }
    do {
        const unsigned total = lowest_total(looped);
        visit(total, tmp.slot_of(total));
        looped &= looped - 1;
    } while (looped != 0);
}

} // namespace aurelo::qtx::stats::detail::gpu
