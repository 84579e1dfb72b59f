#pragma once

#include <stats/stats.hpp>

#include <utility>

namespace test::call {

namespace stats = aurelo::qtx::stats;

// The estimates as values that tests can hand around: buffers or pointers, with or without a mean in front.
#define QTX_TEST_ESTIMATE(NAME)                                                                              \
    inline constexpr auto NAME =                                                                             \
        [](sycl::queue& queue, const auto&... arguments) -> decltype(stats::NAME(queue, arguments...)) {     \
        return stats::NAME(queue, arguments...);                                                             \
    }
QTX_TEST_ESTIMATE(max);
QTX_TEST_ESTIMATE(min);
QTX_TEST_ESTIMATE(min_max);
QTX_TEST_ESTIMATE(mean);
QTX_TEST_ESTIMATE(raw_sum);
QTX_TEST_ESTIMATE(raw_moment);
QTX_TEST_ESTIMATE(central_sum);
QTX_TEST_ESTIMATE(central_moment);
QTX_TEST_ESTIMATE(variation);
QTX_TEST_ESTIMATE(skewness);
QTX_TEST_ESTIMATE(kurtosis);
#undef QTX_TEST_ESTIMATE

} // namespace test::call
