/**
 * \file openmp_routines.hpp
 * \brief The nine routines of offloaded tasks, one for each group of estimates.
 *
 * A routine checks its arguments, then makes one run of the device engine on pointers, without dependencies.
 * The `int` of its outcome is 0 or the status of the refusal; a refused call submits nothing and has a
 * default-constructed event, an accepted one has the event of its last kernel, which may still run. What the
 * SYCL runtime and the engine throw passes.
 *
 * Method 1 computes everything, the mean and the raw moments that lead to a central result included; method
 * 256 takes the mean as the caller's input and stores the central results alone. Arrays that are present are
 * written whatever the mask of estimates says; the mask decides which must be present.
 *
 * \tparam ilp64 width of the method and of the mask over the dimensions: 64-bit integers, else 32-bit ones
 */
#pragma once

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <type_traits>
#include <utility>

namespace aurelo::qtx::stats::detail::openmp {

template <bool ilp64>
using method_code = std::conditional_t<ilp64, long long, int>;

using estimate_mask = unsigned long long;
using outcome = std::pair<sycl::event, int>;

template <bool ilp64, typename T, layout L>
outcome openmp_min(sycl::queue& queue, T* minimum, dataset<L, T*> data, method_code<ilp64> method);

template <bool ilp64, typename T, layout L>
outcome openmp_max(sycl::queue& queue, T* maximum, dataset<L, T*> data, method_code<ilp64> method);

template <bool ilp64, typename T, layout L>
outcome openmp_raw_sum(sycl::queue& queue, T* sum, T* raw_sum2, T* raw_sum3, T* raw_sum4, dataset<L, T*> data,
                       method_code<ilp64> method, estimate_mask estimates);

template <bool ilp64, typename T, layout L>
outcome openmp_raw_moment(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, dataset<L, T*> data,
                          method_code<ilp64> method, estimate_mask estimates);

template <bool ilp64, typename T, layout L>
outcome openmp_central_sum(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* central_sum2,
                           T* central_sum3, T* central_sum4, dataset<L, T*> data, method_code<ilp64> method,
                           estimate_mask estimates);

template <bool ilp64, typename T, layout L>
outcome openmp_central_moment(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* central2,
                              T* central3, T* central4, dataset<L, T*> data, method_code<ilp64> method,
                              estimate_mask estimates);

template <bool ilp64, typename T, layout L>
outcome openmp_variation(sycl::queue& queue, T* mean, T* raw2, T* variation, dataset<L, T*> data,
                         method_code<ilp64> method, estimate_mask estimates);

template <bool ilp64, typename T, layout L>
outcome openmp_skewness(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* skewness, dataset<L, T*> data,
                        method_code<ilp64> method, estimate_mask estimates);

template <bool ilp64, typename T, layout L>
outcome openmp_kurtosis(sycl::queue& queue, T* mean, T* raw2, T* raw3, T* raw4, T* kurtosis,
                        dataset<L, T*> data, method_code<ilp64> method, estimate_mask estimates);

} // namespace aurelo::qtx::stats::detail::openmp
