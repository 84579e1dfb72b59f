/**
 * \file component.hpp
 * \brief The CPU statistics component under our names: its masks and codes, and its operations by element
 * type.
 */
#pragma once

#include <tsb/summary_statistics.h>

#include <cstdint>

namespace aurelo::qtx::stats::detail {

inline constexpr std::uint64_t est_mean = TSB_SS_EST_MEAN;
inline constexpr std::uint64_t est_raw2 = TSB_SS_EST_RAW2;
inline constexpr std::uint64_t est_raw3 = TSB_SS_EST_RAW3;
inline constexpr std::uint64_t est_raw4 = TSB_SS_EST_RAW4;
inline constexpr std::uint64_t est_central2 = TSB_SS_EST_CENTRAL2;
inline constexpr std::uint64_t est_central3 = TSB_SS_EST_CENTRAL3;
inline constexpr std::uint64_t est_central4 = TSB_SS_EST_CENTRAL4;
inline constexpr std::uint64_t est_kurtosis = TSB_SS_EST_KURTOSIS;
inline constexpr std::uint64_t est_skewness = TSB_SS_EST_SKEWNESS;
inline constexpr std::uint64_t est_variation = TSB_SS_EST_VARIATION;
inline constexpr std::uint64_t est_min = TSB_SS_EST_MIN;
inline constexpr std::uint64_t est_max = TSB_SS_EST_MAX;
inline constexpr std::uint64_t est_sum = TSB_SS_EST_SUM;
inline constexpr std::uint64_t est_raw_sum2 = TSB_SS_EST_RAW_SUM2;
inline constexpr std::uint64_t est_raw_sum3 = TSB_SS_EST_RAW_SUM3;
inline constexpr std::uint64_t est_raw_sum4 = TSB_SS_EST_RAW_SUM4;
inline constexpr std::uint64_t est_central_sum2 = TSB_SS_EST_CENTRAL_SUM2;
inline constexpr std::uint64_t est_central_sum3 = TSB_SS_EST_CENTRAL_SUM3;
inline constexpr std::uint64_t est_central_sum4 = TSB_SS_EST_CENTRAL_SUM4;

inline constexpr std::int64_t param_mean = TSB_SS_PARAM_MEAN;
inline constexpr std::int64_t param_kurtosis = TSB_SS_PARAM_KURTOSIS;
inline constexpr std::int64_t param_skewness = TSB_SS_PARAM_SKEWNESS;
inline constexpr std::int64_t param_min = TSB_SS_PARAM_MIN;
inline constexpr std::int64_t param_max = TSB_SS_PARAM_MAX;
inline constexpr std::int64_t param_variation = TSB_SS_PARAM_VARIATION;

/** \brief The method code of estimates about a mean that the caller gives. */
inline constexpr std::int64_t method_user_mean = TSB_SS_METHOD_USER_MEAN;

/** \brief The operations for data of type \p T. */
template <typename T>
struct component;

template <>
struct component<float> {
    static constexpr auto new_task = &tsbsSSNewTask_64;
    static constexpr auto edit_task = &tsbsSSEditTask;
    static constexpr auto edit_moments = &tsbsSSEditMoments;
    static constexpr auto edit_sums = &tsbsSSEditSums;
    static constexpr auto compute = &tsbsSSCompute;
};

template <>
struct component<double> {
    static constexpr auto new_task = &tsbdSSNewTask_64;
    static constexpr auto edit_task = &tsbdSSEditTask;
    static constexpr auto edit_moments = &tsbdSSEditMoments;
    static constexpr auto edit_sums = &tsbdSSEditSums;
    static constexpr auto compute = &tsbdSSCompute;
};

} // namespace aurelo::qtx::stats::detail
