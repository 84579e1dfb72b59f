/**
 * \file kernels_shape.cpp
 * \brief Variation, skewness and kurtosis about a caller's mean, with 32-bit masks.
 */
#include "instantiate.hpp"

#include "device/basic_submit.hpp"
#include "device/estimates/shape_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu {

QTX_OFFLOAD_USER_MEAN(submit_basic_usm, variation_func_user_mean, false)
QTX_OFFLOAD_USER_MEAN(submit_basic_usm, skewness_func_user_mean, false)
QTX_OFFLOAD_USER_MEAN(submit_basic_usm, kurtosis_func_user_mean, false)

} // namespace aurelo::qtx::stats::detail::gpu
