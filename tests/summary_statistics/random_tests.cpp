// Random shapes against the oracle: every estimate, layout, type, weighting, mask and method.
#include "fixture.hpp"

#include <cmath>
#include <random>
#include <sstream>

namespace {

using namespace fixture;
using oracle::absolute;

constexpr std::int64_t some_dims[] = {1, 1, 2, 3, 4, 5, 7, 8, 9, 12, 16, 31, 64, 65, 100, 513, 600, 1001};
constexpr std::int64_t some_observations[] = {2,  3,   4,   7,   8,   9,    31,   32,
                                              33, 100, 127, 128, 129, 1000, 4099, 40000};
constexpr std::int64_t most_elements = 150000;

// The longest chain of additions is about 1000; on random data errors grow with its square root at most.
constexpr double units_allowed = 24;

template <class T>
struct random_case {
    matrix<T> m;
    std::int32_t method;
    std::vector<T> user_mean;
    int kind;

    explicit random_case(unsigned seed) {
        std::mt19937_64 random(seed);
        auto pick = [&random](const auto& list) { return list[random() % std::size(list)]; };
        do {
            m.dims = pick(some_dims);
            m.observations = pick(some_observations);
        } while (m.dims * m.observations > most_elements);
        m.storage = random() % 2 ? TSB_SS_STORAGE_BY_DIMENSION : TSB_SS_STORAGE_BY_OBSERVATION;
        static constexpr std::int32_t methods[] = {TSB_SS_METHOD_FAST, TSB_SS_METHOD_STANDARD,
                                                   TSB_SS_METHOD_USER_MEAN};
        method = pick(methods);
        kind = static_cast<int>(random() % 4);
        fill_data(random);
        if (random() % 2) {
            fill_weights(random);
        }
        if (random() % 3 == 0) {
            for (std::int64_t d = 0; d < m.dims; ++d) {
                m.mask.push_back(static_cast<std::int64_t>(random() % 3) - 1);
            }
        }
    }

    void fill_data(std::mt19937_64& random) {
        std::normal_distribution<double> normal;
        m.data.resize(static_cast<std::size_t>(m.dims * m.observations));
        for (std::int64_t d = 0; d < m.dims; ++d) {
            const double center = kind == 1 ? 1000.0 * static_cast<double>(d - 2) : 0.5;
            for (std::int64_t i = 0; i < m.observations; ++i) {
                const double z = normal(random);
                const double drift = kind == 2 ? static_cast<double>(i) * 0.01 : 0.0;
                m.at(d, i) = static_cast<T>(kind == 3 ? std::exp(z) : center + drift + z);
            }
            user_mean.push_back(static_cast<T>(center + 0.25));
        }
    }

    void fill_weights(std::mt19937_64& random) {
        static constexpr T odd[] = {0, -3, std::numeric_limits<T>::quiet_NaN(), static_cast<T>(-0.0)};
        for (std::int64_t i = 0; i < m.observations; ++i) {
            const bool unusual = random() % 7 == 0;
            m.weights.push_back(unusual ? odd[random() % 4]
                                        : static_cast<T>(0.25 * static_cast<double>(1 + random() % 9)));
        }
    }

    std::string describe(unsigned seed) const {
        std::ostringstream s;
        s << "seed " << seed << ": " << api<T>::name << ' ' << m.dims << " x " << m.observations
          << " storage " << m.storage << (m.weights.empty() ? "" : " weighted")
          << (m.mask.empty() ? "" : " masked") << " method " << method << " data " << kind;
        return s.str();
    }
};

template <class T>
void compare(const random_case<T>& c, const results<T>& got, std::int64_t d, std::uint64_t estimates) {
    const bool about = c.method == TSB_SS_METHOD_USER_MEAN;
    const double mean = static_cast<double>(c.user_mean[static_cast<std::size_t>(d)]);
    const oracle::estimates exact = c.m.exact(d, about ? &mean : nullptr);
    for (int k = 0; k < oracle::n_results; ++k) {
        const auto at = static_cast<std::size_t>(k);
        if (!(estimates & bits[at])) {
            continue;
        }
        const quad rounding = sizeof(T) == 4 ? absolute(exact.value[at]) * 0x1p-24 * 1.0001
                                             : absolute(exact.value[at]) * 0x1p-53;
        const quad allowed = exact.scale[at] * (units_allowed * 0x1p-53) + rounding;
        const quad error = absolute(quad(got(k, d)) - exact.value[at]);
        ASSERT_LE(static_cast<double>(error), static_cast<double>(allowed))
            << oracle::names[at] << " of dimension " << d << " is " << static_cast<double>(got(k, d))
            << ", exact " << static_cast<double>(exact.value[at]);
    }
}

template <class T>
void check(unsigned seed) {
    const random_case<T> c(seed);
    SCOPED_TRACE(c.describe(seed));
    const bool about = c.method == TSB_SS_METHOD_USER_MEAN;
    const std::uint64_t estimates = about ? about_user_mean : every_estimate;
    const std::vector<T>* mean = about ? &c.user_mean : nullptr;
    const results<T> together = run(c.m, estimates, c.method, mean);
    const std::int64_t step = std::max<std::int64_t>(1, c.m.dims / 16);
    for (std::int64_t d = 0; d < c.m.dims; ++d) {
        if (c.m.includes(d) && (d % step == 0 || d == c.m.dims - 1)) {
            compare(c, together, d, estimates);
        }
        for (int k = 0; k < oracle::n_results; ++k) {
            const bool wanted = (estimates & bits[static_cast<std::size_t>(k)]) != 0;
            const T before = about && k == 0 ? c.user_mean[static_cast<std::size_t>(d)] : untouched<T>;
            if (!wanted || !c.m.includes(d)) {
                ASSERT_EQ(together(k, d), before)
                    << oracle::names[static_cast<std::size_t>(k)] << " was written";
            }
        }
    }
    std::mt19937 random(seed);
    for (int k = 0; k < oracle::n_results; ++k) {
        const std::uint64_t bit = bits[static_cast<std::size_t>(k)];
        if ((estimates & bit) && random() % 4 == 0) {
            EXPECT_TRUE(run(c.m, bit, c.method, mean).same_bits(together, k))
                << oracle::names[static_cast<std::size_t>(k)] << " differs when computed alone";
        }
    }
}

class random_shapes : public ::testing::TestWithParam<unsigned> {};

TEST_P(random_shapes, agree_with_the_oracle) {
    for (unsigned seed = GetParam() * 25; seed < GetParam() * 25 + 25 && !HasFatalFailure(); ++seed) {
        if (seed % 2) {
            check<float>(seed);
        } else {
            check<double>(seed);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(seeds, random_shapes, ::testing::Range(0u, 12u));

// Several units, several blocks, and remainders of every kind in one call.
template <class T>
class many_units : public ::testing::Test {};
using element_types = ::testing::Types<double, float>;
TYPED_TEST_SUITE(many_units, element_types);

TYPED_TEST(many_units, agree_with_the_oracle) {
    using T = TypeParam;
    std::mt19937_64 random(7);
    std::normal_distribution<double> normal;
    const std::int64_t shapes[][2] = {{1, 400001}, {3, 100003}, {13, 40001}};
    for (const auto& s : shapes) {
        for (const std::int64_t storage : {TSB_SS_STORAGE_BY_DIMENSION, TSB_SS_STORAGE_BY_OBSERVATION}) {
            random_case<T> c(0);
            c.method = TSB_SS_METHOD_FAST;
            c.m = {s[0], s[1], storage, {}, {}, {}};
            c.user_mean.assign(static_cast<std::size_t>(s[0]), T{});
            for (std::int64_t i = 0; i < s[0] * s[1]; ++i) {
                c.m.data.push_back(static_cast<T>(100 + normal(random)));
            }
            SCOPED_TRACE(c.describe(0));
            compare(c, run(c.m, every_estimate), s[0] - 1, every_estimate);
            for (std::int64_t i = 0; i < s[1]; ++i) {
                c.m.weights.push_back(static_cast<T>(i % 5));
            }
            compare(c, run(c.m, every_estimate), 0, every_estimate);
        }
    }
}

TYPED_TEST(many_units, tasks_with_32_bit_integers_give_the_same_bits) {
    using T = TypeParam;
    random_case<T> c(1);
    c.m = {5, 1003, TSB_SS_STORAGE_BY_OBSERVATION, {}, {}, {1, 0, 7, 0, -1}};
    for (int i = 0; i < 5 * 1003; ++i) {
        c.m.data.push_back(static_cast<T>(std::sin(i)));
    }
    const results<T> wide = run(c.m, TSB_SS_EST_SKEWNESS);
    const std::int32_t dims = 5, observations = 1003, storage = TSB_SS_STORAGE_BY_OBSERVATION;
    const std::int32_t mask[] = {1, 0, 7, 0, -1};
    results<T> narrow(5);
    void* task = nullptr;
    ASSERT_EQ(api<T>::make_32(&task, &dims, &observations, &storage, c.m.data.data(), nullptr, mask),
              TSB_SS_OK);
    EXPECT_EQ(api<T>::edit(task, TSB_SS_PARAM_SKEWNESS, narrow.of[15].data()), TSB_SS_OK);
    EXPECT_EQ(api<T>::compute(task, TSB_SS_EST_SKEWNESS, TSB_SS_METHOD_FAST), TSB_SS_OK);
    EXPECT_EQ(tsbSSDeleteTask(&task), TSB_SS_OK);
    EXPECT_TRUE(narrow.same_bits(wide, 15));
    EXPECT_EQ(narrow(15, 1), untouched<T>);
}

} // namespace
