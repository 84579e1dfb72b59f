#pragma once

#include "device/estimates/extended_funcs.hpp"

namespace test {

/// The record of a functor of pointers, whose flags tell which of them are not null.
template <typename Functor, typename... Pointers>
Functor record_of(Pointers... outputs) {
    namespace gpu = aurelo::qtx::stats::detail::gpu;
    using T = typename Functor::element_type;
    constexpr std::size_t n = sizeof...(outputs);
    if constexpr (requires { Functor{outputs...}; }) {
        return Functor{outputs...};
    } else if constexpr (requires { Functor{{}, outputs...}; }) {
        return Functor{{}, outputs...};
    } else if constexpr (n == 1) {
        return gpu::make_shape<Functor, T>(outputs...);
    } else if constexpr (n == 4) {
        return gpu::make_raw<Functor, T>(outputs...);
    } else if constexpr (n == 3) {
        return gpu::make_central<Functor, T>(outputs...);
    } else {
        return gpu::ex::make_extended_central<Functor, T>(outputs...);
    }
}

} // namespace test
