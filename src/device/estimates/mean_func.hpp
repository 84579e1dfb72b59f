/**
 * \file mean_func.hpp
 * \brief The mean on a GPU device.
 */
#pragma once

#include "outputs.hpp"
#include "read_totals.hpp"

#include <sycl/sycl.hpp>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief S1 / W. */
template <typename T, bool is_usm>
struct mean_func {
    using element_type = T;
    using orders = fixed_orders<false, false, false>;
    static constexpr bool usm = is_usm;
    static constexpr bool user_mean = false;
    static constexpr const char* estimate = "mean";

    explicit mean_func(array_argument<T, is_usm> result) : out(result) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { handler.require(out); }

    void operator()(const sum_tmp_helper<T, is_usm, false>& tmp, unsigned long dim,
                    bool stores = true) const {
        store_if(stores, out, dim, T(tmp.sums[dim] / total_weight(tmp)));
    }

    output_of<T, is_usm> out;
};

} // namespace aurelo::qtx::stats::detail::gpu
