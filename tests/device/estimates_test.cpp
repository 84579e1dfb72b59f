#include "support/catalogue.hpp"
#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/special_values.hpp"

#include <cmath>
#include <limits>
#include <tuple>

namespace {

using test::masking;
using test::weighting;

/// Every estimate against the oracle.
template <typename T>
void expect_all_estimates(sycl::queue& queue, std::size_t wg, std::size_t n) {
    const std::pair<weighting, masking> kinds[] = {{weighting::none, masking::none},
                                                   {weighting::positive, masking::first_out},
                                                   {weighting::odd, masking::alternate},
                                                   {weighting::none, masking::all_out}};
    unsigned seed = static_cast<unsigned>(n);
    for (const auto& [weights, mask] : kinds) {
        for (const bool own_mean : {false, true}) {
            const test::recipe recipe{
                .n_observations = n, .weights = weights, .mask = mask, .own_mean = own_mean, .seed = ++seed};
            const auto data = test::make<T>(recipe);
            const auto oracles = test::oracles_of(data, wg);
            for (const auto& how : test::arrangements_on<T>(queue)) {
                SCOPED_TRACE(recipe.text() + ", " + how.text());
                for (const auto& each : test::estimates<T>()) {
                    test::for_each_result(each, each.run(queue, how, data), data, oracles,
                                          [](auto... result) { EXPECT_TRUE(test::right<T>(result...)); });
                }
            }
        }
    }
}

std::vector<std::size_t> counts(std::size_t wg) {
    std::vector<std::size_t> result{wg, wg + 1, 3 * wg - 1};
    if (wg <= 4) {
        result.insert(result.end(), {wg * wg + 1, 41 * wg});
    }
    return result;
}

} // namespace

class estimates : public test::on_every_gpu {};
ON_EVERY_GPU(estimates);

TEST_P(estimates, float_within_the_error_of_their_formulas) {
    for (const std::size_t n : counts(wg())) {
        expect_all_estimates<float>(queue, wg(), n);
        const auto data =
            test::make<float>({.n_dims = 1, .n_observations = n, .weights = weighting::positive});
        EXPECT_LT(static_cast<double>(test::oracle<float>(data, 0, wg()).variance_error()), 0.01)
            << "the bounds must be small enough to mean something, n " << n;
    }
}

TEST_P(estimates, double_within_the_error_of_their_formulas) {
    for (const std::size_t n : counts(wg())) {
        expect_all_estimates<double>(queue, wg(), n);
    }
}

TEST_P(estimates, special_values_and_worked_examples) {
    test::expect_special_values(queue);
}

TEST_P(estimates, extremes_in_any_place_of_rows_of_one_sign_with_infinities_and_nan) {
    constexpr float most = std::numeric_limits<float>::max();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::size_t n = 2 * wg() + 1;
    const std::tuple<float, float, float, float> cases[] = {
        // all elements but one, that one, minimum, maximum
        {-1, -2, -2, -1},
        {1, 2, 1, 2},
        {-7.5F, -7.5F, -7.5F, -7.5F},
        {-1, 0, -1, 0},
        {-most, -most, -most, -most},
        {infinity, infinity, most, infinity},
        {-infinity, -infinity, -infinity, -most},
        {std::nanf(""), std::nanf(""), most, -most},
        {std::nanf(""), 3, 3, 3},
    };
    for (const std::size_t place : {std::size_t{0}, wg() - 1, wg(), n - 1}) {
        test::host_dataset<float> data{std::size(cases), n, {}, {}, {}, {}};
        std::vector<float> lowest;
        std::vector<float> highest;
        for (const auto& [all, one, low, high] : cases) {
            data.values.insert(data.values.end(), n, all);
            data.values[data.values.size() - n + place] = one;
            lowest.push_back(low);
            highest.push_back(high);
        }
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(how.text() + ", place " + std::to_string(place));
            using result = std::vector<float>;
            const auto both = test::run<float, 2>(queue, how, data, {true, true}, test::call::min_max);
            EXPECT_EQ(both, (std::array<result, 2>{lowest, highest}));
            EXPECT_EQ((test::run<float, 1>(queue, how, data, {true}, test::call::min)[0]), lowest);
            EXPECT_EQ((test::run<float, 1>(queue, how, data, {true}, test::call::max)[0]), highest);
        }
    }
}

TEST_P(estimates, a_nan_stays_in_its_dimension) {
    auto data = test::make<float>({.n_dims = 3, .n_observations = wg() + 1});
    data.values[data.n_observations + wg()] = std::numeric_limits<float>::quiet_NaN();
    for (const auto& how : test::arrangements_on<float>(queue)) {
        const auto kurtosis = test::run<float, 1>(queue, how, data, {true}, test::call::kurtosis)[0];
        EXPECT_FALSE(std::isnan(kurtosis[0])) << how.text();
        EXPECT_TRUE(std::isnan(kurtosis[1])) << how.text();
        EXPECT_FALSE(std::isnan(kurtosis[2])) << how.text();
    }
}

TEST_P(estimates, the_standard_method_gives_the_bits_of_the_fast_one) {
    const auto data = test::make<double>({.n_dims = 3, .n_observations = 2 * wg() + 1});
    const auto standard = [](sycl::queue& q, const auto& set, const auto& out) {
        return test::stats::kurtosis<test::stats::method::standard>(q, set, out);
    };
    for (const auto& how : test::arrangements_on<double>(queue)) {
        EXPECT_EQ((test::run<double, 1>(queue, how, data, {true}, standard)[0]),
                  (test::run<double, 1>(queue, how, data, {true}, test::call::kurtosis)[0]))
            << how.text();
    }
}
