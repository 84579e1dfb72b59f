// Constants, single observations, NaN, infinities and values whose powers overflow.
#include "fixture.hpp"

#include <cmath>
#include <gmock/gmock.h>

namespace {

using namespace fixture;
using ::testing::IsNan;

enum : int {
    mean = 0,
    raw2 = 1,
    central2 = 4,
    central4 = 6,
    sum = 7,
    central_sum2 = 11,
    central_sum3 = 12,
    central_sum4 = 13,
    kurtosis = 14,
    skewness = 15,
    variation = 16,
    low = 17,
    high = 18
};

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t lengths[] = {2, 3, 17, 32, 129, 1000, 50001};

TEST(constant_column, has_central_sums_of_exactly_zero) {
    for (const double value : {0.1, -1e300, 3.7e-310, 123456789.123, 1e103}) {
        for (const std::int64_t n : lengths) {
            for (const bool weighted : {false, true}) {
                SCOPED_TRACE(::testing::Message() << value << " x " << n << (weighted ? " weighted" : ""));
                auto m = column(std::vector<double>(static_cast<std::size_t>(n), value));
                if (weighted) {
                    m.weights.assign(static_cast<std::size_t>(n), 0.3);
                }
                const auto r = run(m, every_estimate);
                EXPECT_EQ(r(mean), value);
                EXPECT_EQ(r(central_sum2), 0);
                EXPECT_EQ(r(central_sum3), 0);
                EXPECT_EQ(r(central_sum4), 0);
                EXPECT_EQ(r(variation), 0 / value);
                EXPECT_THAT(r(skewness), IsNan());
                EXPECT_THAT(r(kurtosis), IsNan());
                EXPECT_EQ(r(low), value);
                EXPECT_EQ(r(high), value);
            }
        }
    }
}

TEST(one_observation, gives_what_the_formulas_give) {
    for (const bool weighted : {false, true}) {
        auto m = column<double>({2.5});
        if (weighted) {
            m.weights = {0.3};
        }
        const auto r = run(m, every_estimate);
        EXPECT_EQ(r(mean), 2.5);
        EXPECT_NEAR(r(raw2), 6.25, 1e-15);
        EXPECT_EQ(r(central_sum2), 0);
        for (const int k : {static_cast<int>(central2), static_cast<int>(variation),
                            static_cast<int>(skewness), static_cast<int>(kurtosis)}) {
            EXPECT_THAT(r(k), IsNan());
        }
        const std::vector<double> about{2.0};
        EXPECT_EQ(run(m, TSB_SS_EST_CENTRAL2, TSB_SS_METHOD_USER_MEAN, &about)(central2), inf);
    }
}

TEST(nan, reaches_every_sum_of_its_dimension_and_no_extreme) {
    for (const std::int64_t storage : {TSB_SS_STORAGE_BY_DIMENSION, TSB_SS_STORAGE_BY_OBSERVATION}) {
        for (const std::int64_t n : lengths) {
            matrix<double> m{3, n, storage, std::vector<double>(static_cast<std::size_t>(3 * n)), {}, {}};
            for (std::int64_t i = 0; i < 3 * n; ++i) {
                m.data[static_cast<std::size_t>(i)] = static_cast<double>(i % 11);
            }
            const auto clean = run(m, every_estimate);
            for (const std::int64_t where : {std::int64_t{0}, n / 2, n - 1}) {
                SCOPED_TRACE(::testing::Message()
                             << n << " observations, NaN at " << where << ", storage " << storage);
                auto bad = m;
                bad.at(1, where) = nan;
                auto without = m;
                without.at(1, where) = 5; // neither the lowest nor the highest
                const auto r = run(bad, every_estimate);
                for (int k = 0; k < low; ++k) {
                    EXPECT_THAT(r(k, 1), IsNan()) << oracle::names[static_cast<std::size_t>(k)];
                }
                if (n > 30) {
                    EXPECT_EQ(r(low, 1), run(without, every_estimate)(low, 1));
                    EXPECT_EQ(r(high, 1), run(without, every_estimate)(high, 1));
                }
                for (const std::int64_t d : {0, 2}) {
                    for (int k = 0; k < low; ++k) {
                        EXPECT_TRUE(r(k, d) == clean(k, d) ||
                                    (std::isnan(r(k, d)) && std::isnan(clean(k, d))))
                            << oracle::names[static_cast<std::size_t>(k)] << " of dimension " << d;
                    }
                }
            }
        }
    }
}

TEST(extremes, are_bounded_by_the_largest_finite_value) {
    const double most = std::numeric_limits<double>::max();
    struct row {
        std::vector<double> data;
        double low, high;
    };
    const row rows[] = {{{inf, inf}, most, inf},
                        {{-inf, -inf}, -inf, -most},
                        {{nan, nan, nan}, most, -most},
                        {{nan, 3}, 3, 3},
                        {{3, nan}, 3, 3},
                        {{-1, 0}, -1, 0},
                        {{-5, -2, nan, -9}, -9, -2},
                        {{inf, -inf, 1}, -inf, inf}};
    for (const row& c : rows) {
        const auto r = run(column(c.data), TSB_SS_EST_MIN | TSB_SS_EST_MAX);
        EXPECT_EQ(r(low), c.low) << ::testing::PrintToString(c.data);
        EXPECT_EQ(r(high), c.high) << ::testing::PrintToString(c.data);
    }
    const float float_most = std::numeric_limits<float>::max();
    EXPECT_EQ(run(column<float>({INFINITY}), TSB_SS_EST_MIN)(low), float_most);
    EXPECT_EQ(run(column<float>({NAN}), TSB_SS_EST_MAX)(high), -float_most);
}

TEST(infinity, gives_an_infinite_mean_wherever_it_stands) {
    for (const std::int64_t n : lengths) {
        for (const std::int64_t where : {std::int64_t{0}, n / 2, n - 1}) {
            SCOPED_TRACE(::testing::Message() << n << " observations, infinity at " << where);
            auto m = column(std::vector<double>(static_cast<std::size_t>(n), 1.5));
            m.at(0, where) = -inf;
            const auto r = run(m, every_estimate);
            EXPECT_EQ(r(mean), -inf);
            EXPECT_EQ(r(sum), -inf);
            EXPECT_EQ(r(raw2), inf);
            for (const int k : {static_cast<int>(central_sum2), static_cast<int>(central_sum3),
                                static_cast<int>(central_sum4), static_cast<int>(skewness)}) {
                EXPECT_THAT(r(k), IsNan());
            }
            m.at(0, (where + 1) % n) = inf;
            EXPECT_THAT(run(m, TSB_SS_EST_MEAN)(mean), IsNan());
        }
    }
}

TEST(huge_values, overflow_in_the_powers_that_overflow_and_nowhere_else) {
    for (const std::int64_t n : lengths) {
        SCOPED_TRACE(n);
        matrix<double> m = column(std::vector<double>(static_cast<std::size_t>(n)));
        for (std::int64_t i = 0; i < n; ++i) {
            m.at(0, i) = 1e103 * static_cast<double>(i % 2 + 1);
        }
        auto r = run(m, every_estimate);
        EXPECT_NEAR(r(central_sum2) / static_cast<double>(m.exact(0).value[central_sum2]), 1, 1e-13);
        EXPECT_EQ(r(central_sum4), inf);
        for (std::int64_t i = 0; i < n; ++i) {
            m.at(0, i) = 1.5e154 * (i % 2 ? 2 : -2);
        }
        r = run(m, every_estimate);
        EXPECT_NEAR(r(mean) / 1.5e154, static_cast<double>(m.exact(0).value[0]) / 1.5e154, 1e-14);
        EXPECT_EQ(r(central_sum2), inf);
        EXPECT_EQ(r(central_sum4), inf);
    }
}

} // namespace
