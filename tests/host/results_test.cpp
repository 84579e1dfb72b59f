#include "support/catalogue.hpp"
#include "support/devices.hpp"
#include "support/special_values.hpp"

#include <cmath>
#include <cstring>

// Results on a CPU device, within the same bounds as those on GPUs, and what must not change them.

namespace {

using aurelo::qtx::stats::method;
using test::masking;
using test::weighting;

sycl::queue& cpu() {
    static sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    return queue;
}

/// Bitwise comparison: NaN equals NaN, 0 differs from -0.
bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

} // namespace

TEST(cpu_results, lie_within_the_error_of_the_formulas) {
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
        for (const auto& each : test::estimates<double>()) {
            for (const auto& how : test::arrangements) {
                SCOPED_TRACE(how.text());
                test::for_each_result(each, each.run(cpu(), how, data), data, oracles,
                                      [](auto... result) { EXPECT_TRUE(test::right(result...)); });
            }
        }
    }
}

TEST(cpu_results, reruns_and_methods_give_the_same_bits) {
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

TEST(cpu_results, of_special_values) {
    test::expect_special_values(cpu());
}
