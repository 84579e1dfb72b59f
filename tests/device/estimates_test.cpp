#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/oracle.hpp"
#include "support/run.hpp"

#include <cmath>

namespace {

using test::answer;
using test::masking;
using test::real;
using test::weighting;

template <typename T>
void expect_answer(T got, const answer& expected) {
    const real distance = test::absolute(real(got) - expected.value);
    EXPECT_TRUE(distance <= expected.bound)
        << "got " << static_cast<long double>(got) << ", expected "
        << static_cast<long double>(expected.value) << ", off by " << static_cast<long double>(distance)
        << ", bound " << static_cast<long double>(expected.bound);
}

/// One dataset on one device in one arrangement, against the oracle.
template <typename T>
class trial {
public:
    trial(sycl::queue& queue, std::size_t wg, const test::recipe& recipe, const test::arrangement& how)
        : queue_(queue), how_(how), data_(test::make<T>(recipe)) {
        for (std::size_t d = 0; d < data_.n_dims; ++d) {
            oracles_.emplace_back(data_, d, wg);
        }
    }

    void expect_raw() {
        expect<1>("mean", test::call::mean, [](const auto& o, int) { return o.raw_moment(1); });
        expect<4>("raw_sum", test::call::raw_sum, [](const auto& o, int k) { return o.raw_sum(k + 1); });
        expect<4>("raw_moment", test::call::raw_moment,
                  [](const auto& o, int k) { return o.raw_moment(k + 1); });
    }

    void expect_central() {
        expect<3>("central_sum", test::call::central_sum,
                  [](const auto& o, int k) { return o.central_sum(k + 2); });
        expect<3>("central_moment", test::call::central_moment,
                  [](const auto& o, int k) { return o.central_moment(k + 2); });
        expect<1>("variation", test::call::variation, [](const auto& o, int) { return o.variation(); });
        expect<1>("skewness", test::call::skewness, [](const auto& o, int) { return o.skewness(); });
        expect<1>("kurtosis", test::call::kurtosis, [](const auto& o, int) { return o.kurtosis(); });
    }

private:
    template <std::size_t n, typename Estimate, typename Expected>
    void expect(const char* name, const Estimate& estimate, const Expected& expected) {
        std::array<bool, n> all;
        all.fill(true);
        const auto got = test::run<T, n>(queue_, how_, data_, all, estimate);
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t d = 0; d < data_.n_dims; ++d) {
                SCOPED_TRACE(std::string(name) + ", output " + std::to_string(k) + ", dimension " +
                             std::to_string(d));
                if (data_.computes(d)) {
                    expect_answer(got[k][d], expected(oracles_[d], static_cast<int>(k)));
                } else {
                    EXPECT_EQ(got[k][d], test::untouched<T>);
                }
            }
        }
    }

    sycl::queue& queue_;
    test::arrangement how_;
    test::host_dataset<T> data_;
    std::vector<test::oracle<T>> oracles_;
};

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
            for (const auto& how : test::arrangements) {
                SCOPED_TRACE(recipe.text() + ", " + how.text());
                trial<T> one(queue, wg, recipe, how);
                if (!own_mean) {
                    one.expect_raw();
                }
                one.expect_central();
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
    }
}

TEST_P(estimates, double_within_the_error_of_their_formulas) {
    for (const std::size_t n : counts(wg())) {
        expect_all_estimates<double>(queue, wg(), n);
    }
}

TEST_P(estimates, bounds_are_small_enough_to_mean_something) {
    for (const std::size_t n : counts(wg())) {
        const auto data =
            test::make<float>({.n_dims = 1, .n_observations = n, .weights = weighting::positive});
        EXPECT_LT(static_cast<double>(test::oracle<float>(data, 0, wg()).variance_error()), 0.01) << n;
    }
}

TEST_P(estimates, one_observation) {
    const auto data = test::make<double>({.n_dims = 2, .n_observations = 1, .integers = true, .seed = 4});
    for (const auto& how : test::arrangements) {
        SCOPED_TRACE(how.text());
        EXPECT_EQ((test::run<double, 1>(queue, how, data, {true}, test::call::mean)[0]), data.values);
        const auto central =
            test::run<double, 3>(queue, how, data, {true, true, true}, test::call::central_moment);
        for (std::size_t d = 0; d < 2; ++d) {
            EXPECT_TRUE(std::isnan(central[0][d])) << "0 times an infinite factor";
            EXPECT_EQ(central[1][d], 0.0);
            EXPECT_EQ(central[2][d], 0.0);
        }
        EXPECT_TRUE(std::isnan(test::run<double, 1>(queue, how, data, {true}, test::call::kurtosis)[0][0]));
    }
}

TEST_P(estimates, equal_values_and_zero_mean_give_what_the_formulas_give) {
    test::host_dataset<double> data;
    data.n_dims = 2;
    data.n_observations = 4;
    data.values = {2, 2, 2, 2, -1, 1, -1, 1};
    const test::arrangement how = test::arrangements.front();
    EXPECT_TRUE(std::isnan(test::run<double, 1>(queue, how, data, {true}, test::call::skewness)[0][0]));
    EXPECT_TRUE(std::isinf(test::run<double, 1>(queue, how, data, {true}, test::call::variation)[0][1]));
    data.mean = {2, 0.5};
    EXPECT_EQ((test::run<double, 3>(queue, how, data, {true, true, true}, test::call::central_sum)[0]),
              (std::vector<double>{0, 5}));
}

TEST_P(estimates, a_nan_stays_in_its_dimension) {
    auto data = test::make<float>({.n_dims = 3, .n_observations = wg() + 1});
    data.values[data.n_observations + wg()] = std::numeric_limits<float>::quiet_NaN();
    for (const auto& how : test::arrangements) {
        const auto kurtosis = test::run<float, 1>(queue, how, data, {true}, test::call::kurtosis)[0];
        EXPECT_FALSE(std::isnan(kurtosis[0])) << how.text();
        EXPECT_TRUE(std::isnan(kurtosis[1])) << how.text();
        EXPECT_FALSE(std::isnan(kurtosis[2])) << how.text();
    }
}

TEST_P(estimates, worked_examples) {
    test::host_dataset<double> weighted;
    weighted.n_dims = 1;
    weighted.n_observations = 3;
    weighted.values = {1, 2, 3};
    weighted.weights = {1, 2, 1};
    test::host_dataset<double> plain;
    plain.n_dims = 1;
    plain.n_observations = 4;
    plain.values = {1, 2, 3, 4};
    for (const auto& how : test::arrangements) {
        SCOPED_TRACE(how.text());
        const std::array<bool, 3> all{true, true, true};
        EXPECT_EQ((test::run<double, 3>(queue, how, weighted, all, test::call::central_sum)[0][0]), 2.0);
        const auto moments = test::run<double, 3>(queue, how, weighted, all, test::call::central_moment);
        EXPECT_DOUBLE_EQ(moments[0][0], 0.8);
        EXPECT_DOUBLE_EQ(moments[2][0], 0.5);
        EXPECT_NEAR((test::run<double, 1>(queue, how, plain, {true}, test::call::variation)[0][0]), 0.5164,
                    5e-5);
        EXPECT_NEAR((test::run<double, 1>(queue, how, plain, {true}, test::call::skewness)[0][0]), 0.0,
                    1e-14);
        EXPECT_NEAR((test::run<double, 1>(queue, how, plain, {true}, test::call::kurtosis)[0][0]), -2.0775,
                    5e-5);
    }
}

TEST_P(estimates, the_standard_method_gives_the_bits_of_the_fast_one) {
    const auto data = test::make<double>({.n_dims = 3, .n_observations = 2 * wg() + 1});
    const auto standard = [](sycl::queue& q, const auto& set, const auto& out) {
        return test::stats::kurtosis<test::stats::method::standard>(q, set, out);
    };
    for (const auto& how : test::arrangements) {
        EXPECT_EQ((test::run<double, 1>(queue, how, data, {true}, standard)),
                  (test::run<double, 1>(queue, how, data, {true}, test::call::kurtosis)))
            << how.text();
    }
}
