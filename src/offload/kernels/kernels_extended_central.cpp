/**
 * \file kernels_extended_central.cpp
 * \brief Central sums and moments together with the mean and the raw moments on the way to them.
 */
#include "instantiate.hpp"

#include "device/basic_submit.hpp"
#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu {

QTX_OFFLOAD(submit_basic_usm, ex::central_sum_func_fast, true)
QTX_OFFLOAD(submit_basic_usm, ex::central_sum_func_fast, false)
QTX_OFFLOAD(submit_basic_usm, ex::central_moment_func_fast, true)
QTX_OFFLOAD(submit_basic_usm, ex::central_moment_func_fast, false)

} // namespace aurelo::qtx::stats::detail::gpu
