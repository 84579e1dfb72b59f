#include "support/catalogue.hpp"
#include "support/devices.hpp"
#include "support/special_values.hpp"

#include <cmath>
#include <cstring>

// What the two roads have in common, and what must not change a result.

namespace {

using aurelo::qtx::stats::method;
using test::host_dataset;
using test::masking;
using test::weighting;

sycl::queue& cpu() {
    static sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    return queue;
}
sycl::queue& gpu() {
    static sycl::queue queue(test::gpu_with_limit(96));
    return queue;
}

/// Bitwise comparison: NaN equals NaN, 0 differs from -0.
bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

/// Calls `check(estimate, arrangement)` for each pair.
template <typename Check>
void for_each_call(const Check& check) {
    for (const auto& each : test::estimates<double>()) {
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(each.name + ", " + how.text());
            check(each, how);
        }
    }
}

/// The dataset with its dimensions in reverse order.
host_dataset<double> reversed(const host_dataset<double>& data) {
    host_dataset<double> result = data;
    for (std::size_t i = 0; i < data.values.size(); ++i) {
        const std::size_t d = i / data.n_observations;
        result.values[i] = data.at(data.n_dims - 1 - d, i % data.n_observations);
    }
    return result;
}

/// Integer weights as repeated observations.
host_dataset<double> replicated(const host_dataset<double>& data) {
    host_dataset<double> result;
    result.n_dims = data.n_dims;
    for (std::size_t i = 0; i < data.values.size(); ++i) {
        const auto copies = static_cast<std::size_t>(data.weight(i % data.n_observations));
        result.values.insert(result.values.end(), copies, data.values[i]);
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
        SCOPED_TRACE(recipe.text());
        const auto data = test::make<double>(recipe);
        const auto oracles = test::oracles_of(data, 96);
        for_each_call([&](const auto& each, const auto& how) {
            for (sycl::queue* const queue : {&cpu(), &gpu()}) {
                test::for_each_result(each, each.run(*queue, how, data), data, oracles,
                                      [](auto... result) { EXPECT_TRUE(test::right(result...)); });
            }
        });
    }
}

TEST(roads, reruns_and_methods_give_the_same_bits) {
    const auto standard = test::estimates<double, method::standard>();
    for (const std::size_t n : {5UL, 1000UL, 70'000UL}) {
        const auto data =
            test::make<double>({.n_dims = 3, .n_observations = n, .weights = weighting::positive, .seed = 3});
        for (std::size_t at = 0; at < standard.size(); ++at) {
            const auto fast = test::estimates<double>()[at];
            ASSERT_EQ(fast.name, standard[at].name);
            for (const auto& how : test::arrangements) {
                const auto first = fast.run(cpu(), how, data);
                const auto second = fast.run(cpu(), how, data);
                const auto other = standard[at].run(cpu(), how, data);
                for (std::size_t k = 0; k < first.size(); ++k) {
                    EXPECT_TRUE(same_bits(first[k], second[k]) && same_bits(first[k], other[k]))
                        << fast.name << ", output " << k << ", " << how.text() << ", n " << n;
                }
            }
        }
    }
}

TEST(roads, scaling_by_two_scales_and_keeps_shapes) {
    const auto data =
        test::make<double>({.n_dims = 3, .n_observations = 5000, .weights = weighting::positive, .seed = 8});
    auto doubled = data;
    for (double& x : doubled.values) {
        x *= 2;
    }
    for_each_call([&](const auto& each, const auto& how) {
        const std::string orders = each.name.starts_with("raw")       ? "1234"
                                   : each.name.starts_with("central") ? "234"
                                   : each.name.starts_with("m")       ? "11" // mean, minimum, maximum
                                                                      : "0";
        for (sycl::queue* const queue : {&cpu(), &gpu()}) {
            auto scaled = each.run(*queue, how, data);
            for (std::size_t k = 0; k < scaled.size(); ++k) {
                for (double& x : scaled[k]) {
                    x = std::ldexp(x, orders[k] - '0');
                }
            }
            EXPECT_EQ(each.run(*queue, how, doubled), scaled);
        }
    });
}

TEST(roads, the_order_of_the_dimensions_orders_the_results) {
    for (const std::size_t n_dims : {3UL, 8UL, 100UL}) {
        SCOPED_TRACE(n_dims);
        const auto data = test::make<double>({.n_dims = n_dims, .n_observations = 700, .seed = 9});
        const auto turned = reversed(data);
        for_each_call([&](const auto& each, const auto& how) {
            auto straight = each.run(cpu(), how, data);
            for (auto& output : straight) {
                std::reverse(output.begin(), output.end());
            }
            EXPECT_EQ(each.run(cpu(), how, turned), straight);
        });
    }
}

TEST(roads, integer_weights_are_repeated_observations) {
    const auto weighted = test::make<double>(
        {.n_dims = 2, .n_observations = 400, .weights = weighting::positive, .integers = true, .seed = 5});
    const auto repeated = replicated(weighted);
    for_each_call([&](const auto& each, const auto& how) {
        if (!each.name.starts_with("raw") && each.name != "central_moment") {
            return;
        }
        for (sycl::queue* const queue : {&cpu(), &gpu()}) {
            const auto a = each.run(*queue, how, weighted);
            const auto b = each.run(*queue, how, repeated);
            for (std::size_t k = 0; k < a.size(); ++k) {
                for (std::size_t d = 0; d < 2; ++d) {
                    if (each.name == "central_moment" && k == 0) {
                        // The corrected denominator counts weights, not repetitions.
                        EXPECT_GT(std::abs(a[k][d] - b[k][d]), 1e-4);
                    } else {
                        // Small integers: sums are exact in every order, and equal.
                        EXPECT_NEAR(a[k][d], b[k][d], each.name == "raw_sum" ? 0 : 1e-12);
                    }
                }
            }
        }
    });
}

TEST(special_values, on_the_cpu) {
    test::expect_special_values(cpu());
}
