/**
 * \file kernels_raw.cpp
 * \brief Raw sums and moments with 32-bit masks.
 */
#include "instantiate.hpp"

#include "device/basic_submit.hpp"
#include "device/estimates/raw_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu {

QTX_OFFLOAD(submit_basic_usm, raw_sum_func_fast, false)
QTX_OFFLOAD(submit_basic_usm, raw_moment_func_fast, false)

} // namespace aurelo::qtx::stats::detail::gpu
