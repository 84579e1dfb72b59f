/**
 * \file central_stores.hpp
 * \brief Stores of central sums and moments, shared by all functors that have them as outputs.
 *
 * \p Central has `order2()` to `order4()`: the expansion of power totals, or totals about a caller's mean.
 */
#pragma once

#include "arithmetic.hpp"
#include "outputs.hpp"

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Central sums as they are. */
template <typename Central, typename Flags, typename Ptr>
void store_central_sums(const Central& c, const Flags& flags, unsigned long dim, bool stores, const Ptr& out2,
                        const Ptr& out3, const Ptr& out4) {
    store_if(stores, out2, dim, c.order2());
    store_if(stores && flags.has_order3, out3, dim, c.order3());
    store_if(stores && flags.has_order4, out4, dim, c.order4());
}

/** \brief Order 2 with the corrected denominator, orders 3 and 4 with the plain total weight. */
template <typename Central, typename Flags, typename T, typename Ptr>
void store_central_moments(const Central& c, const Flags& flags, T weight, T square_weight, unsigned long dim,
                           bool stores, const Ptr& out2, const Ptr& out3, const Ptr& out4) {
    store_if(stores, out2, dim, c.order2() * variance_factor(weight, square_weight));
    store_if(stores && flags.has_order3, out3, dim, c.order3() / weight);
    store_if(stores && flags.has_order4, out4, dim, c.order4() / weight);
}

} // namespace aurelo::qtx::stats::detail::gpu
