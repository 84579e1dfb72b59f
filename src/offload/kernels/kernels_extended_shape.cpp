/**
 * \file kernels_extended_shape.cpp
 * \brief Variation, skewness and kurtosis together with the mean and the raw moments on the way to them.
 */
#include "instantiate.hpp"

#include "device/basic_submit.hpp"
#include "device/estimates/extended_funcs.hpp"

namespace aurelo::qtx::stats::detail::gpu {

QTX_OFFLOAD(submit_basic_usm, ex::variation_func_fast, true)
QTX_OFFLOAD(submit_basic_usm, ex::variation_func_fast, false)
QTX_OFFLOAD(submit_basic_usm, ex::skewness_func_fast, true)
QTX_OFFLOAD(submit_basic_usm, ex::skewness_func_fast, false)
QTX_OFFLOAD(submit_basic_usm, ex::kurtosis_func_fast, true)
QTX_OFFLOAD(submit_basic_usm, ex::kurtosis_func_fast, false)

} // namespace aurelo::qtx::stats::detail::gpu
