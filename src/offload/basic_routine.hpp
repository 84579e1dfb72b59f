/**
 * \file basic_routine.hpp
 * \brief What the routines of central and shape estimates share; only they include it.
 */
#pragma once

#include "routine.hpp"

#include "device/basic_launch.hpp"

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief Unless refused runs the functor of the method: \p expanded computes everything, \p about_mean takes
 * \p mean as it is.
 */
template <bool ilp64, typename T, layout L, typename Expanded, typename AboutMean>
outcome run_by_method(int status, sycl::queue& queue, const dataset<L, T*>& data, long long method,
                      const Expanded& expanded, const AboutMean& about_mean, T* mean) {
    return unless_refused(status, [&] {
        if (method == TSB_SS_METHOD_USER_MEAN) {
            return gpu::submit_basic_usm<ilp64>(queue, data, about_mean, {}, mean);
        }
        return gpu::submit_basic_usm<ilp64>(queue, data, expanded, {});
    });
}

} // namespace aurelo::qtx::stats::detail::openmp
