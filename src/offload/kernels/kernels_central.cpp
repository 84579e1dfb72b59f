/**
 * \file kernels_central.cpp
 * \brief Central sums and moments about a caller's mean, with 32-bit masks.
 */
#include "instantiate.hpp"

#include "device/basic_submit.hpp"
#include "device/estimates/central_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu {

QTX_OFFLOAD_USER_MEAN(submit_basic_usm, central_sum_func_user_mean, false)
QTX_OFFLOAD_USER_MEAN(submit_basic_usm, central_moment_func_user_mean, false)

} // namespace aurelo::qtx::stats::detail::gpu
