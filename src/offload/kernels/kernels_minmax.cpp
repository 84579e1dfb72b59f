/**
 * \file kernels_minmax.cpp
 * \brief Minimum and maximum with 32-bit masks.
 */
#include "instantiate.hpp"

#include "device/minmax_submit.hpp"

namespace aurelo::qtx::stats::detail::gpu {

QTX_OFFLOAD(submit_minmax_usm, max_func_fast, false)
QTX_OFFLOAD(submit_minmax_usm, min_func_fast, false)

} // namespace aurelo::qtx::stats::detail::gpu
