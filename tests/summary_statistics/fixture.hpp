// A matrix with its task, for either element type: what every test of the component starts from.
#ifndef TESTS_SUMMARY_STATISTICS_FIXTURE_HPP
#define TESTS_SUMMARY_STATISTICS_FIXTURE_HPP

#include "oracle.hpp"
#include "tsb/summary_statistics.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace fixture {

using oracle::quad;

template <class T>
struct api;

#define FIXTURE_API(T, PREFIX)                                                                               \
    template <>                                                                                              \
    struct api<T> {                                                                                          \
        static constexpr auto make = PREFIX##NewTask_64;                                                     \
        static constexpr auto make_32 = PREFIX##NewTask;                                                     \
        static constexpr auto edit = PREFIX##EditTask;                                                       \
        static constexpr auto moments = PREFIX##EditMoments;                                                 \
        static constexpr auto sums = PREFIX##EditSums;                                                       \
        static constexpr auto compute = PREFIX##Compute;                                                     \
        static constexpr const char* name = #T;                                                              \
    }
FIXTURE_API(double, tsbdSS);
FIXTURE_API(float, tsbsSS);
#undef FIXTURE_API

/// Mask bit of each result, in slot order.
inline constexpr std::array<std::uint64_t, oracle::n_results> bits = {
    TSB_SS_EST_MEAN,         TSB_SS_EST_RAW2,         TSB_SS_EST_RAW3,     TSB_SS_EST_RAW4,
    TSB_SS_EST_CENTRAL2,     TSB_SS_EST_CENTRAL3,     TSB_SS_EST_CENTRAL4, TSB_SS_EST_SUM,
    TSB_SS_EST_RAW_SUM2,     TSB_SS_EST_RAW_SUM3,     TSB_SS_EST_RAW_SUM4, TSB_SS_EST_CENTRAL_SUM2,
    TSB_SS_EST_CENTRAL_SUM3, TSB_SS_EST_CENTRAL_SUM4, TSB_SS_EST_KURTOSIS, TSB_SS_EST_SKEWNESS,
    TSB_SS_EST_VARIATION,    TSB_SS_EST_MIN,          TSB_SS_EST_MAX};

inline constexpr std::uint64_t every_estimate = 0xFE000FFF;
inline constexpr std::uint64_t about_user_mean = 0xE00003F0;

/// Parameter code of each result, in slot order.
inline constexpr std::array<std::int64_t, oracle::n_results> codes = {7,  8,  9,  10, 11, 12, 13, 75, 76, 77,
                                                                      78, 79, 80, 81, 14, 15, 18, 16, 17};

template <class T>
struct matrix {
    std::int64_t dims = 1;
    std::int64_t observations = 1;
    std::int64_t storage = TSB_SS_STORAGE_BY_DIMENSION;
    std::vector<T> data;
    std::vector<T> weights;         ///< empty: none
    std::vector<std::int64_t> mask; ///< empty: none

    std::size_t index(std::int64_t d, std::int64_t i) const {
        return static_cast<std::size_t>(storage == TSB_SS_STORAGE_BY_DIMENSION ? d * observations + i
                                                                               : i * dims + d);
    }
    T& at(std::int64_t d, std::int64_t i) { return data[index(d, i)]; }
    bool includes(std::int64_t d) const { return mask.empty() || mask[static_cast<std::size_t>(d)] != 0; }

    oracle::estimates exact(std::int64_t d, const double* user_mean = nullptr) const {
        const quad about = user_mean ? *user_mean : 0;
        const auto value = [&](std::size_t i) { return data[index(d, static_cast<std::int64_t>(i))]; };
        const auto weight = [&](std::size_t i) {
            return weights.empty() || !(weights[i] > 0) ? T(1) : weights[i];
        };
        const auto n = static_cast<std::size_t>(observations);
        return oracle::estimates_of({n, value, weight, user_mean ? &about : nullptr}, user_mean);
    }
};

/// One column of doubles or floats.
template <class T>
matrix<T> column(std::vector<T> values) {
    matrix<T> m;
    m.observations = static_cast<std::int64_t>(values.size());
    m.data = std::move(values);
    return m;
}

/// Results before a call: a value that no test expects.
template <class T>
inline constexpr T untouched = static_cast<T>(-12345.678);

template <class T>
struct results {
    std::array<std::vector<T>, oracle::n_results> of;

    explicit results(std::int64_t dims) {
        for (auto& v : of) {
            v.assign(static_cast<std::size_t>(dims), untouched<T>);
        }
    }
    T operator()(int which, std::int64_t d = 0) const {
        return of[static_cast<std::size_t>(which)][static_cast<std::size_t>(d)];
    }
    bool same_bits(const results& other, int which) const {
        const auto& a = of[static_cast<std::size_t>(which)];
        const auto& b = other.of[static_cast<std::size_t>(which)];
        return std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
    }
};

/// Runs one compute; registers only the arrays that the mask names (and the caller's mean). The data may be elsewhere.
template <class T>
results<T> run(const matrix<T>& m, std::uint64_t estimates, std::int32_t method = TSB_SS_METHOD_FAST,
               const std::vector<T>* user_mean = nullptr, const T* data = nullptr) {
    results<T> r(m.dims);
    void* task = nullptr;
    EXPECT_EQ(api<T>::make(&task, &m.dims, &m.observations, &m.storage, data ? data : m.data.data(),
                           m.weights.empty() ? nullptr : m.weights.data(),
                           m.mask.empty() ? nullptr : m.mask.data()),
              TSB_SS_OK);
    if (!task) {
        return r;
    }
    if (user_mean) {
        r.of[0] = *user_mean;
        EXPECT_EQ(api<T>::edit(task, TSB_SS_PARAM_MEAN, r.of[0].data()), TSB_SS_OK);
    }
    for (std::size_t k = 0; k < bits.size(); ++k) {
        if (estimates & bits[k]) {
            EXPECT_EQ(api<T>::edit(task, codes[k], r.of[k].data()), TSB_SS_OK);
        }
    }
    EXPECT_EQ(api<T>::compute(task, estimates, method), TSB_SS_OK);
    EXPECT_EQ(tsbSSDeleteTask(&task), TSB_SS_OK);
    return r;
}

} // namespace fixture

#endif
