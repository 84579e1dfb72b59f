#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

// Integers of small size make every sum exact, in any order of addition: results are compared with ==.

namespace {

using test::masking;
using test::weighting;

/// Sum of w * (x - center)^k over one dimension.
template <typename T>
T integer_sum(const test::host_dataset<T>& data, std::size_t d, int k, T center) {
    long sum = 0;
    for (std::size_t i = 0; i < data.n_observations; ++i) {
        long term = static_cast<long>(data.weight(i));
        for (int j = 0; j < k; ++j) {
            term *= static_cast<long>(data.at(d, i) - center);
        }
        sum += term;
    }
    return static_cast<T>(sum);
}

/// Each present output of `estimate` is the sum of its order, everything else is as it was.
template <typename T, std::size_t n, typename Estimate>
void expect_sums(sycl::queue& queue, const test::recipe& recipe, const std::array<bool, n>& present,
                 const Estimate& estimate, int first_order) {
    const auto data = test::make<T>(recipe);
    for (const auto& how : test::arrangements) {
        const auto got = test::run<T, n>(queue, how, data, present, estimate);
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t d = 0; d < (present[k] ? data.n_dims : 0); ++d) {
                const T center = data.mean.empty() ? T(0) : data.mean[d];
                ASSERT_EQ(got[k][d], data.computes(d)
                                         ? integer_sum(data, d, static_cast<int>(k) + first_order, center)
                                         : test::untouched<T>)
                    << recipe.text() << ", " << how.text() << ", output " << k << ", dimension " << d;
            }
        }
    }
}

template <typename T>
void expect_exact_sums(sycl::queue& queue, test::recipe recipe) {
    recipe.integers = true;
    expect_sums<T, 4>(queue, recipe, {true, true, true, true}, test::call::raw_sum, 1);
    expect_sums<T, 4>(queue, recipe, {true, false, true, false}, test::call::raw_sum, 1);
    recipe.own_mean = true;
    expect_sums<T, 3>(queue, recipe, {true, true, true}, test::call::central_sum, 2);
    expect_sums<T, 3>(queue, recipe, {true, false, true}, test::call::central_sum, 2);
}

/// One single step and plans of one, two and more passes behind the first.
std::vector<std::size_t> plans(std::size_t wg) {
    std::vector<std::size_t> counts{1, wg - 1, wg, wg + 1, 2 * wg};
    if (wg <= 96) {
        counts.insert(counts.end(), {wg * wg, wg * wg + 1});
    }
    if (wg <= 4) {
        counts.insert(counts.end(), {wg * wg * wg + 1, wg * wg * wg * wg + wg * wg + 1});
    }
    return counts;
}

} // namespace

class totals : public test::on_every_gpu {};
ON_EVERY_GPU(totals);

TEST_P(totals, exact_in_every_plan) {
    unsigned seed = 1;
    for (const std::size_t n : plans(wg())) {
        const std::size_t n_dims = n > 2000 ? 1 : 2;
        expect_exact_sums<float>(queue, {.n_dims = n_dims, .n_observations = n, .seed = ++seed});
        expect_exact_sums<double>(
            queue, {.n_dims = n_dims, .n_observations = n, .weights = weighting::positive, .seed = ++seed});
    }
}

TEST_P(totals, exact_under_every_mask_with_odd_weights) {
    for (const auto mask : {masking::first_out, masking::alternate, masking::all_out, masking::all_in}) {
        for (const std::size_t n : {wg() - 1, 3 * wg() + 1, 4 * wg()}) {
            expect_exact_sums<double>(
                queue,
                {.n_dims = 5, .n_observations = n, .weights = weighting::odd, .mask = mask, .seed = 5});
        }
    }
}

TEST_P(totals, exact_for_many_dimensions) {
    for (const std::size_t n_dims : {1u, 3u, 64u, 1000u}) {
        const test::recipe recipe{.n_dims = n_dims,
                                  .n_observations = std::min<std::size_t>(2 * wg() + 1, 193),
                                  .weights = n_dims == 64 ? weighting::positive : weighting::none,
                                  .integers = true};
        expect_sums<float, 4>(queue, recipe, {true, true, true, true}, test::call::raw_sum, 1);
    }
}

TEST_P(totals, all_combinations_of_optional_outputs) {
    for (unsigned bits = 0; bits < 8; ++bits) {
        const bool b2 = (bits & 1) != 0;
        const bool b3 = (bits & 2) != 0;
        const bool b4 = (bits & 4) != 0;
        for (const auto weights : {weighting::none, weighting::positive}) {
            test::recipe recipe{
                .n_dims = 2, .n_observations = 2 * wg() + 1, .weights = weights, .integers = true};
            expect_sums<double, 4>(queue, recipe, {true, b2, b3, b4}, test::call::raw_sum, 1);
            recipe.own_mean = true;
            expect_sums<double, 3>(queue, recipe, {true, b3, b4}, test::call::central_sum, 2);
        }
    }
}

TEST_P(totals, the_mean_divides_the_exact_sum_by_the_exact_weight) {
    for (const std::size_t n : plans(wg())) {
        for (const auto weights : {weighting::none, weighting::positive}) {
            const test::recipe recipe{.n_dims = 3,
                                      .n_observations = n,
                                      .weights = weights,
                                      .mask = masking::first_out,
                                      .integers = true};
            const auto data = test::make<float>(recipe);
            const auto got =
                test::run<float, 1>(queue, test::arrangements[n % 4], data, {true}, test::call::mean);
            for (std::size_t d = 1; d < 3; ++d) {
                ASSERT_EQ(got[0][d], integer_sum(data, d, 1, 0.0F) / integer_sum(data, d, 0, 0.0F))
                    << recipe.text();
            }
        }
    }
}

TEST(totals_of_large_groups, three_passes) {
    sycl::queue queue(test::gpu_with_limit(test::large_limit));
    const test::recipe recipe{
        .n_dims = 1, .n_observations = test::large_limit * test::large_limit + 3, .integers = true};
    const auto data = test::make<double>(recipe);
    const auto got = test::run<double, 4>(queue, test::arrangements[1], data, {true, true, true, true},
                                          test::call::raw_sum);
    for (int k = 1; k <= 4; ++k) {
        EXPECT_EQ(got[static_cast<std::size_t>(k - 1)][0], integer_sum(data, 0, k, 0.0)) << k;
    }
}
