// Correct decimal digits on data that ruin careless formulas, weighted and not, in both layouts.
#include "fixture.hpp"

#include <cmath>
#include <random>

namespace {

using namespace fixture;

/// \brief A data set and the digits that must be right.
struct data_set {
    const char* name;
    std::vector<double> values;
    double skewness; ///< 0: the exact value is 0 or next to it, where digits mean nothing
};

std::vector<double> alternating(double base, int pairs) {
    std::vector<double> v{base + 0.2};
    for (int i = 0; i < pairs; ++i) {
        v.push_back(base + 0.1);
        v.push_back(base + 0.3);
    }
    return v;
}

std::vector<double> random_values(std::size_t n, double (*shape)(double z, std::size_t i)) {
    std::mt19937_64 random(2);
    std::normal_distribution<double> normal;
    std::vector<double> v(n);
    for (std::size_t i = 0; i < n; ++i) {
        v[i] = shape(normal(random), i);
    }
    return v;
}

std::vector<data_set> data_sets() {
    std::vector<double> step(256, 0.0);
    step.resize(200000, 1e7);
    return {
        {"10000001, 10000003, 10000002", {10000001, 10000003, 10000002}, 0},
        {"1.2, 1.1, 1.3, ... 1001", alternating(1, 500), 0},
        {"1000000.2, .1, .3, ... 1001", alternating(1000000, 500), 0},
        {"10000000.2, .1, .3, ... 1001", alternating(10000000, 500), 0},
        {"1e9 + N(0, 1)", random_values(150000, [](double z, std::size_t) { return 1e9 + z; }), 0},
        {"1e7 + 0.1 lognormal",
         random_values(150000, [](double z, std::size_t) { return 1e7 + 0.1 * std::exp(z); }), 12},
        {"lognormal", random_values(150000, [](double z, std::size_t) { return std::exp(z); }), 12},
        {"lognormal 1000", random_values(1000, [](double z, std::size_t) { return std::exp(z); }), 12},
        {"rising trend",
         random_values(150000, [](double z, std::size_t i) { return 1e3 * static_cast<double>(i) + z; }), 0},
        {"step: 256 zeros, then 1e7", step, 12},
        {"1e-9 lognormal", random_values(150000, [](double z, std::size_t) { return 1e-9 * std::exp(z); }),
         12},
    };
}

/// Every third dimension of three holds the set, so that by_observation meets mixed lanes.
matrix<double> spread_over_dims(const data_set& set, std::int64_t storage, std::int64_t dims, bool weighted) {
    matrix<double> m;
    m.dims = dims;
    m.observations = static_cast<std::int64_t>(set.values.size());
    m.storage = storage;
    m.data.resize(static_cast<std::size_t>(dims) * set.values.size());
    for (std::int64_t d = 0; d < dims; ++d) {
        for (std::int64_t i = 0; i < m.observations; ++i) {
            m.at(d, i) = set.values[static_cast<std::size_t>(i)];
        }
    }
    for (std::size_t i = 0; weighted && i < set.values.size(); ++i) {
        m.weights.push_back(0.1 * static_cast<double>(1 + i % 7));
    }
    return m;
}

TEST(digits, reach_their_marks) {
    for (const data_set& set : data_sets()) {
        for (const std::int64_t storage : {TSB_SS_STORAGE_BY_DIMENSION, TSB_SS_STORAGE_BY_OBSERVATION}) {
            for (const bool weighted : {false, true}) {
                const matrix<double> m = spread_over_dims(set, storage, 3, weighted);
                const auto r = run(m, every_estimate);
                const auto exact = m.exact(2);
                const auto of = [&](int k) {
                    return oracle::digits(r(k, 2), exact.value[static_cast<std::size_t>(k)]);
                };
                // The standard deviation has half the relative error of the variance.
                const double sd = std::min(of(4) + std::log10(2.0), 17.0);
                SCOPED_TRACE(testing::Message()
                             << set.name << (weighted ? ", weighted" : "") << ", storage " << storage);
                EXPECT_GE(of(0), 15) << "mean";
                EXPECT_GE(sd, 15) << "standard deviation";
                EXPECT_GE(of(14), 13) << "kurtosis";
                EXPECT_GE(of(15), set.skewness) << "skewness";
                for (const int raw : {7, 8, 9, 10}) {
                    EXPECT_GE(of(raw), 14.5) << oracle::names[static_cast<std::size_t>(raw)];
                }
            }
        }
    }
}

// Blocks of small values between two blocks of large ones that cancel: a plain running sum of the blocks drops them all.
TEST(digits, sums_keep_what_their_additions_round_away) {
    const std::size_t block = 65536;
    std::vector<double> values(16 * block, 0x1p-12);
    std::fill_n(values.begin(), block, 0x1p44);
    std::fill_n(values.rbegin(), block, -0x1p44);
    const auto r = run(column(std::move(values)), TSB_SS_EST_SUM);
    EXPECT_EQ(r(7), 14 * 0x1p4);
}

TEST(digits, twenty_million_float_ones_are_counted_exactly) {
    const auto m = column(std::vector<float>(20000000, 1.0f));
    const auto r = run(m, every_estimate);
    EXPECT_EQ(r(0), 1.0f);
    EXPECT_EQ(r(7), 2e7f);
    EXPECT_EQ(r(10), 2e7f);
    EXPECT_EQ(r(11), 0.0f);
}

} // namespace
