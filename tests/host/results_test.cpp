#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/oracle.hpp"
#include "support/run.hpp"

#include <cmath>
#include <cstring>
#include <limits>

// What the two roads have in common, and what must not change a result.

namespace {

using aurelo::qtx::stats::method;
using test::arrangement;
using test::host_dataset;
using test::layout;
using test::masking;
using test::real;
using test::weighting;

sycl::queue& cpu() {
    static sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    return queue;
}
sycl::queue& gpu() {
    static sycl::queue queue(test::gpu_with_limit(96));
    return queue;
}

template <typename T, std::size_t n, typename Estimate>
test::results<T, n> all_outputs(sycl::queue& queue, const arrangement& how, const host_dataset<T>& data,
                                const Estimate& estimate) {
    std::array<bool, n> present;
    present.fill(true);
    return test::run<T, n>(queue, how, data, present, estimate);
}

/// Bitwise comparison: NaN equals NaN, 0 differs from -0.
template <typename T>
bool same_bits(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

/// Calls `visit(name, number of outputs, estimate)` for every estimate of one method that has sums.
template <method M, typename Visit>
void for_every_sum(const Visit& visit) {
    const std::integral_constant<std::size_t, 1> one;
    const std::integral_constant<std::size_t, 3> three;
    const std::integral_constant<std::size_t, 4> four;
#define CALL_OF(NAME)                                                                                        \
    [](auto& queue, const auto& data, const auto&... out) requires requires {                                \
        data.n_dims;                                                                                         \
    }                                                                                                        \
    { return aurelo::qtx::stats::NAME<M>(queue, data, out...); }
    visit("mean", one, CALL_OF(mean));
    visit("raw_sum", four, CALL_OF(raw_sum));
    visit("raw_moment", four, CALL_OF(raw_moment));
    visit("central_sum", three, CALL_OF(central_sum));
    visit("central_moment", three, CALL_OF(central_moment));
    visit("variation", one, CALL_OF(variation));
    visit("skewness", one, CALL_OF(skewness));
    visit("kurtosis", one, CALL_OF(kurtosis));
#undef CALL_OF
}

template <typename T>
host_dataset<T> scaled(host_dataset<T> data, T factor) {
    for (auto& x : data.values) {
        x *= factor;
    }
    return data;
}

/// The dataset with its dimensions in reverse order.
template <typename T>
host_dataset<T> reversed(const host_dataset<T>& data) {
    host_dataset<T> result = data;
    for (std::size_t d = 0; d < data.n_dims; ++d) {
        std::copy_n(
            data.values.begin() + static_cast<std::ptrdiff_t>(d * data.n_observations), data.n_observations,
            result.values.begin() + static_cast<std::ptrdiff_t>((data.n_dims - 1 - d) * data.n_observations));
    }
    return result;
}

/// Integer weights as repeated observations.
template <typename T>
host_dataset<T> replicated(const host_dataset<T>& data) {
    host_dataset<T> result;
    result.n_dims = data.n_dims;
    for (std::size_t d = 0; d < data.n_dims; ++d) {
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            result.values.insert(result.values.end(), static_cast<std::size_t>(data.weight(i)),
                                 data.at(d, i));
        }
    }
    result.n_observations = result.values.size() / result.n_dims;
    return result;
}

} // namespace

TEST(roads, agree_within_the_error_of_both) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        const test::recipe recipe{.n_dims = 1 + seed % 5,
                                  .n_observations = 20 + 137 * (seed % 7),
                                  .weights = static_cast<weighting>(seed % 3),
                                  .mask = static_cast<masking>(seed % 5),
                                  .own_mean = seed % 2 == 0,
                                  .seed = seed};
        const auto data = test::make<double>(recipe);
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(recipe.text() + ", " + how.text());
            const auto on_cpu = all_outputs<double, 3>(cpu(), how, data, test::call::central_moment);
            const auto on_gpu = all_outputs<double, 3>(gpu(), how, data, test::call::central_moment);
            for (std::size_t d = 0; d < data.n_dims; ++d) {
                const test::oracle<double> exact(data, d, 96);
                for (int k = 2; k <= 4; ++k) {
                    const auto output = static_cast<std::size_t>(k - 2);
                    const real bound = data.computes(d) ? 2 * exact.central_moment(k).bound : real(0);
                    EXPECT_TRUE(test::absolute(real(on_cpu[output][d]) - on_gpu[output][d]) <= bound)
                        << "order " << k << ", dimension " << d << ": " << on_cpu[output][d] << " against "
                        << on_gpu[output][d];
                }
            }
        }
    }
}

TEST(roads, reruns_and_methods_give_the_same_bits) {
    for (const std::size_t n : {5UL, 1000UL, 70'000UL}) {
        const auto data =
            test::make<double>({.n_dims = 3, .n_observations = n, .weights = weighting::positive, .seed = 3});
        for (const auto& how : test::arrangements) {
            std::vector<std::vector<double>> fast;
            for_every_sum<method::fast>([&]<std::size_t k>(const char* name,
                                                           std::integral_constant<std::size_t, k>,
                                                           const auto& call) {
                const auto first = all_outputs<double, k>(cpu(), how, data, call);
                const auto second = all_outputs<double, k>(cpu(), how, data, call);
                for (std::size_t i = 0; i < k; ++i) {
                    EXPECT_TRUE(same_bits(first[i], second[i]))
                        << name << " rerun, " << how.text() << ", n " << n;
                    fast.push_back(first[i]);
                }
            });
            std::size_t next = 0;
            for_every_sum<method::standard>([&]<std::size_t k>(const char* name,
                                                               std::integral_constant<std::size_t, k>,
                                                               const auto& call) {
                for (const auto& each : all_outputs<double, k>(cpu(), how, data, call)) {
                    EXPECT_TRUE(same_bits(each, fast[next++]))
                        << name << " by method, " << how.text() << ", n " << n;
                }
            });
        }
    }
}

TEST(roads, scaling_by_two_scales_and_keeps_shapes) {
    const auto data =
        test::make<double>({.n_dims = 3, .n_observations = 5000, .weights = weighting::positive, .seed = 8});
    const auto doubled = scaled(data, 2.0);
    for (sycl::queue* const queue : {&cpu(), &gpu()}) {
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(how.text());
            const auto mean = all_outputs<double, 1>(*queue, how, data, test::call::mean)[0];
            const auto mean2 = all_outputs<double, 1>(*queue, how, doubled, test::call::mean)[0];
            for (std::size_t d = 0; d < 3; ++d) {
                EXPECT_EQ(mean2[d], 2 * mean[d]);
            }
            EXPECT_TRUE(same_bits(all_outputs<double, 1>(*queue, how, data, test::call::kurtosis)[0],
                                  all_outputs<double, 1>(*queue, how, doubled, test::call::kurtosis)[0]));
            EXPECT_TRUE(same_bits(all_outputs<double, 1>(*queue, how, data, test::call::variation)[0],
                                  all_outputs<double, 1>(*queue, how, doubled, test::call::variation)[0]));
        }
    }
}

TEST(roads, the_order_of_the_dimensions_orders_the_results) {
    for (const std::size_t n_dims : {3UL, 8UL, 100UL}) {
        const auto data = test::make<double>({.n_dims = n_dims, .n_observations = 700, .seed = 9});
        const auto turned = reversed(data);
        for (const auto& how : test::arrangements) {
            auto straight = all_outputs<double, 1>(cpu(), how, data, test::call::skewness)[0];
            const auto result = all_outputs<double, 1>(cpu(), how, turned, test::call::skewness)[0];
            std::reverse(straight.begin(), straight.end());
            EXPECT_TRUE(same_bits(straight, result)) << n_dims << " dimensions, " << how.text();
        }
    }
}

TEST(roads, integer_weights_are_repeated_observations) {
    const auto weighted = test::make<double>(
        {.n_dims = 2, .n_observations = 400, .weights = weighting::positive, .integers = true, .seed = 5});
    const auto repeated = replicated(weighted);
    for (sycl::queue* const queue : {&cpu(), &gpu()}) {
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(how.text());
            // Small integers: sums are exact in every order, and equal.
            EXPECT_EQ((all_outputs<double, 4>(*queue, how, weighted, test::call::raw_sum)),
                      (all_outputs<double, 4>(*queue, how, repeated, test::call::raw_sum)));
            const auto raw = all_outputs<double, 4>(*queue, how, weighted, test::call::raw_moment);
            const auto raw_of_repeated =
                all_outputs<double, 4>(*queue, how, repeated, test::call::raw_moment);
            for (std::size_t k = 0; k < 4; ++k) {
                EXPECT_NEAR(raw[k][0], raw_of_repeated[k][0], 1e-15 * (1 + raw[k][0]));
                EXPECT_NEAR(raw[k][1], raw_of_repeated[k][1], 1e-15 * (1 + raw[k][1]));
            }
            const auto moments = all_outputs<double, 3>(*queue, how, weighted, test::call::central_moment);
            const auto of_repeated =
                all_outputs<double, 3>(*queue, how, repeated, test::call::central_moment);
            for (std::size_t d = 0; d < 2; ++d) {
                EXPECT_NEAR(moments[1][d], of_repeated[1][d], 1e-12);
                EXPECT_NEAR(moments[2][d], of_repeated[2][d], 1e-12);
                // The corrected denominator counts weights, not repetitions.
                EXPECT_GT(std::abs(moments[0][d] - of_repeated[0][d]), 1e-4);
            }
        }
    }
}

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double huge = std::numeric_limits<double>::max();

host_dataset<double> one_dimension(std::vector<double> values) {
    host_dataset<double> data;
    data.n_dims = 1;
    data.n_observations = values.size();
    data.values = std::move(values);
    return data;
}

/// The estimates of a single dimension on both roads.
struct on_both_roads {
    explicit on_both_roads(std::vector<double> values) : data(one_dimension(std::move(values))) {}

    template <std::size_t n, typename Estimate, typename Check>
    void expect(const Estimate& estimate, const Check& check) const {
        for (sycl::queue* const queue : {&cpu(), &gpu()}) {
            for (const auto& how : test::arrangements) {
                SCOPED_TRACE(std::string(queue == &cpu() ? "CPU, " : "GPU, ") + how.text());
                check(all_outputs<double, n>(*queue, how, data, estimate));
            }
        }
    }

    host_dataset<double> data;
};

} // namespace

TEST(special_values, nan_is_passed_over_by_extrema_and_spoils_sums) {
    const double values[] = {3, -1, 5, 2};
    for (std::size_t place = 0; place < 5; ++place) {
        std::vector<double> x(values, values + 4);
        x.insert(x.begin() + static_cast<std::ptrdiff_t>(place), not_a_number);
        SCOPED_TRACE("NaN at " + std::to_string(place));
        const on_both_roads roads(x);
        roads.expect<2>(test::call::min_max, [](const auto& result) {
            EXPECT_EQ(result[0][0], -1);
            EXPECT_EQ(result[1][0], 5);
        });
        roads.expect<1>(test::call::mean, [](const auto& result) { EXPECT_TRUE(std::isnan(result[0][0])); });
        roads.expect<1>(test::call::kurtosis,
                        [](const auto& result) { EXPECT_TRUE(std::isnan(result[0][0])); });
    }
    on_both_roads({not_a_number, not_a_number, not_a_number})
        .expect<2>(test::call::min_max, [](const auto& result) {
            EXPECT_EQ(result[0][0], huge);
            EXPECT_EQ(result[1][0], -huge);
        });
}

TEST(special_values, infinities) {
    on_both_roads({inf, inf}).expect<2>(test::call::min_max, [](const auto& result) {
        EXPECT_EQ(result[0][0], huge);
        EXPECT_EQ(result[1][0], inf);
    });
    on_both_roads({1, inf, 2}).expect<4>(test::call::raw_sum, [](const auto& result) {
        for (const auto& each : result) {
            EXPECT_EQ(each[0], inf);
        }
    });
    on_both_roads({1, inf, 2}).expect<1>(test::call::kurtosis, [](const auto& result) {
        EXPECT_TRUE(std::isnan(result[0][0]));
    });
    on_both_roads({1, inf, -inf}).expect<1>(test::call::mean, [](const auto& result) {
        EXPECT_TRUE(std::isnan(result[0][0]));
    });
}

TEST(special_values, one_observation_has_no_variance) {
    on_both_roads({4}).expect<3>(test::call::central_moment, [](const auto& result) {
        EXPECT_TRUE(std::isnan(result[0][0])) << "0 times an infinite factor";
        EXPECT_EQ(result[1][0], 0);
        EXPECT_EQ(result[2][0], 0);
    });
    on_both_roads({4}).expect<1>(test::call::skewness,
                                 [](const auto& result) { EXPECT_TRUE(std::isnan(result[0][0])); });
}

TEST(special_values, a_mean_of_zero_divides_the_variation) {
    on_both_roads({-1, 1}).expect<1>(test::call::variation,
                                     [](const auto& result) { EXPECT_EQ(std::abs(result[0][0]), inf); });
    on_both_roads({0, 0}).expect<1>(test::call::variation,
                                    [](const auto& result) { EXPECT_TRUE(std::isnan(result[0][0])); });
}

TEST(special_values, powers_overflow_as_they_must) {
    on_both_roads({1.5e154, -1.5e154}).expect<4>(test::call::raw_sum, [](const auto& result) {
        EXPECT_EQ(result[0][0], 0);
        EXPECT_EQ(result[1][0], inf);
        EXPECT_EQ(result[3][0], inf);
    });
    on_both_roads({1e103, 2e103}).expect<4>(test::call::raw_sum, [](const auto& result) {
        EXPECT_DOUBLE_EQ(result[0][0], 3e103);
        EXPECT_DOUBLE_EQ(result[1][0], 5e206);
        EXPECT_EQ(result[2][0], inf);
        EXPECT_EQ(result[3][0], inf);
    });
}

TEST(special_values, a_constant_column_has_no_spread_on_the_cpu) {
    for (const std::size_t n : {2UL, 9UL, 5000UL, 100'001UL}) {
        const auto data = one_dimension(std::vector<double>(n, 0.1));
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(how.text() + ", n " + std::to_string(n));
            const auto sums = all_outputs<double, 3>(cpu(), how, data, test::call::central_sum);
            EXPECT_EQ(sums[0][0], 0);
            EXPECT_EQ(sums[1][0], 0);
            EXPECT_EQ(sums[2][0], 0);
            EXPECT_EQ((all_outputs<double, 1>(cpu(), how, data, test::call::mean)[0][0]), 0.1);
            EXPECT_TRUE(std::isnan(all_outputs<double, 1>(cpu(), how, data, test::call::kurtosis)[0][0]));
        }
    }
}
