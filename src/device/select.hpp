/**
 * \file select.hpp
 * \brief A choice without a branch.
 */
#pragma once

namespace aurelo::qtx::stats::detail::gpu {

/**
 * \brief \p yes or \p no, both of which exist already. A conditional operator chooses between places in
 * memory, and a compiler may then keep the places and branch on the way to them.
 */
template <typename T>
constexpr T select(bool condition, T yes, T no) {
    return condition ? yes : no;
}

} // namespace aurelo::qtx::stats::detail::gpu
