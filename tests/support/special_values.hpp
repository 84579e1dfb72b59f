#pragma once

#include "catalogue.hpp"

#include <cmath>
#include <limits>

namespace test {

inline constexpr double inf = std::numeric_limits<double>::infinity();
inline constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

inline host_dataset<double> one_dimension(std::vector<double> values, std::vector<double> weights = {},
                                          std::vector<double> mean = {}) {
    const std::size_t n = values.size();
    return {1, n, std::move(values), std::move(weights), {}, std::move(mean)};
}

/// What an estimate gives on one dimension, output by output.
struct special_case {
    host_dataset<double> data;
    std::string estimate;
    std::vector<double> expected;
};

inline std::vector<special_case> special_cases() {
    constexpr double nan = not_a_number;
    constexpr double huge = std::numeric_limits<double>::max();
    const auto weighted = one_dimension({1, 2, 3}, {1, 2, 1});
    const auto plain = one_dimension({1, 2, 3, 4});
    std::vector<special_case> all{
        {weighted, "raw_sum", {8, 18, 44, 114}},
        {weighted, "central_sum", {2, 0, 2}},
        {weighted, "central_moment", {0.8, 0, 0.5}},
        {plain, "variation", {0.5163977794943222}},
        {plain, "skewness", {0}},
        {plain, "kurtosis", {-2.0775}},
        {one_dimension({-1, 1, -1, 1}, {}, {0.5}), "central_sum", {5, -6.5, 10.25}},
        // 0 times or divided by 0
        {one_dimension({4}), "mean", {4}},
        {one_dimension({4}), "central_moment", {nan, 0, 0}},
        {one_dimension({4}), "skewness", {nan}},
        {one_dimension({4}), "kurtosis", {nan}},
        {one_dimension({2, 2, 2, 2}), "skewness", {nan}},
        {one_dimension({-1, 1}), "variation", {inf}},
        {one_dimension({0, 0}), "variation", {nan}},
        {one_dimension({nan, nan, nan}), "min_max", {huge, -huge}},
        {one_dimension({inf, inf}), "min_max", {huge, inf}},
        {one_dimension({-inf, -inf}), "min_max", {-inf, -huge}},
        {one_dimension({1, inf, 2}), "raw_sum", {inf, inf, inf, inf}},
        {one_dimension({1, inf, 2}), "kurtosis", {nan}},
        {one_dimension({1, inf, -inf}), "mean", {nan}},
        // powers that overflow
        {one_dimension({1.5e154, -1.5e154}), "raw_sum", {0, inf, nan, inf}},
        {one_dimension({1e103, 2e103}), "raw_sum", {3e103, 5e206, inf, inf}},
    };
    for (std::ptrdiff_t place = 0; place < 5; ++place) {
        std::vector<double> values{3, -1, 5, 2};
        values.insert(values.begin() + place, nan);
        all.push_back({one_dimension(values), "min_max", {-1, 5}});
        all.push_back({one_dimension(values), "mean", {nan}});
        all.push_back({one_dimension(values), "kurtosis", {nan}});
    }
    return all;
}

inline void expect_special_values(sycl::queue& queue) {
    for (const auto& each : estimates<double>()) {
        for (const auto& [data, name, expected] : special_cases()) {
            for (const auto& how :
                 each.name == name ? arrangements_on<double>(queue) : std::vector<arrangement>()) {
                const auto outputs = each.run(queue, how, data);
                for (std::size_t k = 0; k < expected.size(); ++k) {
                    const double got = outputs[k][0];
                    EXPECT_TRUE((std::isnan(got) && std::isnan(expected[k])) || got == expected[k] ||
                                std::abs(got - expected[k]) <= 1e-14 * (1 + std::abs(expected[k])))
                        << name << " of " << testing::PrintToString(data.values) << ", " << how.text()
                        << ", output " << k << " is " << got << " instead of " << expected[k];
                }
            }
        }
    }
}

} // namespace test
