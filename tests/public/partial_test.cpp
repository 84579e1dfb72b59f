// Statistics of parts of the observations: what merging them gives, against sums of 113 bits, and where the parts
// come from.

#include <stats/make_partials.hpp>
#include <stats/stats.hpp>

#include <support/devices.hpp>
#include <support/estimates.hpp>
#include <support/oracle.hpp>
#include <support/run.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iterator>
#include <numeric>

namespace {

using stats_partial = aurelo::qtx::stats::partial;
using aurelo::qtx::stats::extract;
using aurelo::qtx::stats::merge;
using aurelo::qtx::stats::partial_estimates;
using test::absolute;
using test::host_dataset;
using test::real;

constexpr real unit = 0x1p-53L;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Sums of one dimension about its mean or about a center, exact as far as 113 bits go.
struct exact_sums {
    real weight = 0, square_weight = 0, mean = 0;
    real raw[5] = {}, size[5] = {}, central[5] = {}, spread[5] = {};

    template <typename T>
    exact_sums(const host_dataset<T>& data, std::size_t d, const real* about = nullptr) {
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            weight += data.weight(i);
            square_weight += real(data.weight(i)) * data.weight(i);
            add_powers(data.at(d, i), data.weight(i), raw, size);
        }
        mean = raw[1] / weight;
        for (std::size_t i = 0; i < data.n_observations; ++i) {
            add_powers(data.at(d, i) - (about == nullptr ? mean : *about), data.weight(i), central, spread);
        }
    }

    static void add_powers(real x, real power, real* sums, real* sizes) {
        for (int k = 1; k <= 4; ++k) {
            power *= x;
            sums[k] += power;
            sizes[k] += absolute(power);
        }
    }

    stats_partial rounded(std::size_t count) const {
        stats_partial p;
        p.count = static_cast<std::int64_t>(count);
        p.weight = static_cast<double>(weight);
        p.square_weight = static_cast<double>(square_weight);
        p.mean = static_cast<double>(mean);
        p.mean_low = static_cast<double>(mean - p.mean);
        for (int k = 1; k <= 4; ++k) {
            p.raw_sum[k - 1] = static_cast<double>(raw[k]);
            if (k > 1) {
                p.central_sum[k - 2] = static_cast<double>(central[k]);
            }
        }
        return p;
    }
};

void expect_near(double result, real exact, real bound, const std::string& what) {
    EXPECT_LE(static_cast<long double>(absolute(result - exact)), static_cast<long double>(bound))
        << what << ": " << result << ", exactly " << static_cast<double>(exact);
}

/// \p leaf bounds the relative error of the sums that parts begin with, \p depth is how deep merges are nested.
void expect_exact(const stats_partial& p, const exact_sums& exact, real leaf, int depth) {
    const real h = depth * unit;
    const real nested = 30 * h * std::sqrt(static_cast<long double>(depth));
    const real order2 = (25 * leaf + 24 * h + 2 * unit) * exact.spread[2];
    expect_near(p.mean, exact.mean,
                (8 * leaf + 6 * h) * exact.spread[1] / exact.weight + unit * absolute(exact.mean), "mean");
    expect_near(p.central_sum[0], exact.central[2], order2, "central sum 2");
    expect_near(p.central_sum[1], exact.central[3], 125 * (leaf + nested + unit) * exact.spread[3],
                "central sum 3");
    expect_near(p.central_sum[2], exact.central[4], 625 * (leaf + nested + unit) * exact.spread[4],
                "central sum 4");
    for (int k = 1; k <= 4; ++k) {
        expect_near(p.raw_sum[k - 1], exact.raw[k], (leaf + h + unit) * exact.size[k],
                    "raw sum " + std::to_string(k));
    }
    expect_near(p.weight, exact.weight, (h + 2 * unit) * exact.weight, "weight");
    expect_near(p.square_weight, exact.square_weight, (h + 2 * unit) * exact.square_weight, "squares");
}

template <typename T>
host_dataset<T> rows(const host_dataset<T>& data, std::size_t first, std::size_t count) {
    host_dataset<T> part = data;
    part.n_observations = count;
    part.values.clear();
    for (std::size_t d = 0; d < data.n_dims; ++d) {
        const T* const start = &data.values[d * data.n_observations + first];
        part.values.insert(part.values.end(), start, start + count);
    }
    if (!data.weights.empty()) {
        part.weights.assign(&data.weights[first], &data.weights[first] + count);
    }
    return part;
}

template <typename T>
host_dataset<T> normal(double mean, double deviation, std::size_t n, bool weighted, unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<double> values(mean, deviation);
    std::uniform_real_distribution<double> weights(0.25, 4);
    host_dataset<T> data;
    data.n_dims = 1;
    data.n_observations = n;
    for (std::size_t i = 0; i < n; ++i) {
        data.values.push_back(static_cast<T>(values(random)));
        if (weighted) {
            data.weights.push_back(static_cast<T>(weights(random)));
        }
    }
    return data;
}

stats_partial in_pairs(std::vector<stats_partial> parts) {
    for (; parts.size() > 1; parts.resize((parts.size() + 1) / 2)) {
        for (std::size_t i = 0; i + 1 < parts.size(); i += 2) {
            parts[i / 2] = merge(parts[i], parts[i + 1]);
        }
        if (parts.size() % 2 != 0) {
            parts[parts.size() / 2] = parts.back();
        }
    }
    return parts[0];
}

bool same(const stats_partial& a, const stats_partial& b) {
    const auto words = [](const stats_partial& p) {
        return std::vector<double>{p.weight,     p.square_weight, p.mean,           p.mean_low,
                                   p.min,        p.max,           p.central_sum[0], p.raw_sum[0],
                                   p.raw_sum[1], p.raw_sum[2],    p.central_sum[1], p.central_sum[2],
                                   p.raw_sum[3]};
    };
    return a.count == b.count && words(a) == words(b);
}

TEST(partial, merges_stay_within_the_documented_bound_on_hard_data) {
    struct hard_case {
        double mean, deviation;
        bool weighted;
        std::size_t part;
    };
    for (const hard_case& c : {hard_case{0, 1, false, 1},
                               {0, 1, true, 7},
                               {1e9, 1, false, 1},
                               {1e9, 1, true, 1},
                               {1e9, 1, false, 64},
                               {-1e9, 1, true, 1000},
                               {1e9, 1e-3, false, 13},
                               {1e-3, 1, true, 100}}) {
        const auto data = normal<double>(c.mean, c.deviation, 5000, c.weighted, 31);
        SCOPED_TRACE(testing::Message() << c.mean << " + " << c.deviation << " * N(0, 1), seed 31, weights "
                                        << c.weighted << ", parts of " << c.part);
        std::vector<stats_partial> parts;
        for (std::size_t i = 0; i < data.n_observations; i += c.part) {
            const auto part = rows(data, i, std::min(c.part, data.n_observations - i));
            parts.push_back(exact_sums(part, 0).rounded(part.n_observations));
        }
        const exact_sums whole(data, 0);
        expect_exact(in_pairs(parts), whole, unit, std::bit_width(parts.size() - 1));
        // 5,000 merges deep the bound is loose, but not too loose to see a mean of one double.
        expect_exact(std::accumulate(parts.begin(), parts.end(), stats_partial{}, merge), whole, unit,
                     static_cast<int>(parts.size()));
        EXPECT_EQ(in_pairs(parts).count, 5000);
    }
}

TEST(partial, identity_and_order_of_sides_do_not_matter) {
    for (const bool weighted : {false, true}) {
        const auto data = normal<double>(1e9, 1, 100, weighted, 32);
        const auto a = exact_sums(rows(data, 0, 50), 0).rounded(50);
        const auto b = exact_sums(rows(data, 50, 50), 0).rounded(50);
        EXPECT_TRUE(same(merge(a, {}), a));
        EXPECT_TRUE(same(merge({}, a), a));
        EXPECT_TRUE(same(merge(a, b), merge(b, a)));
        EXPECT_TRUE(same(merge({}, {}), {}));
    }
    const partial_estimates none = extract({});
    EXPECT_TRUE(std::isnan(none.mean) && std::isnan(none.raw_moment[0]) && std::isnan(none.variation));
    EXPECT_EQ(none.raw_sum[3], 0);
    EXPECT_EQ(none.min, std::numeric_limits<double>::max());
}

const std::vector<sycl::device>& devices() {
    static const std::vector<sycl::device> list = [] {
        std::vector all{sycl::device(sycl::cpu_selector_v), test::gpu_with_limit(4),
                        test::gpu_with_limit(test::large_limit)};
        std::ranges::copy(test::opencl_gpus(), std::back_inserter(all));
        return all;
    }();
    return list;
}

/// make_partials of \p data in one of the arrangements.
template <typename T>
std::vector<stats_partial> make(sycl::queue& queue, const test::arrangement& how,
                                const host_dataset<T>& data) {
    std::vector<stats_partial> made;
    const auto take = [&](sycl::queue& on, const auto& set, const auto&) {
        made = aurelo::qtx::stats::make_partials(on, set);
        return sycl::event();
    };
    host_dataset<T> without_mean = data;
    without_mean.mean.clear();
    test::run<T, 1>(queue, how, without_mean, {true}, take);
    return made;
}

/// The partials of all dimensions, made of parts of the given sizes in turn.
template <typename T>
std::vector<stats_partial> made_of_parts(const sycl::device& device, const test::arrangement& how,
                                         const host_dataset<T>& data, std::size_t size) {
    sycl::queue queue(device);
    std::vector<stats_partial> total(data.n_dims);
    for (std::size_t i = 0; i < data.n_observations; i += size) {
        const auto parts = make(queue, how, rows(data, i, std::min(size, data.n_observations - i)));
        for (std::size_t d = 0; d < data.n_dims; ++d) {
            total[d] = merge(total[d], parts[d]);
        }
    }
    return total;
}

/// Relative error of a sum on \p device: additions one after the other in a pass's groups, or the component's.
template <typename T>
real sum_error(const sycl::device& device, std::size_t size) {
    const real rounding = std::numeric_limits<T>::epsilon() / 2;
    return device.is_cpu()
               ? 256 * unit + 2 * rounding
               : (2 * static_cast<long double>(std::min(size, test::limit_of(device))) + 24) * rounding;
}

template <typename T>
void expect_partials(const sycl::device& device, const test::arrangement& how, const host_dataset<T>& data,
                     std::size_t size) {
    const auto made = made_of_parts(device, how, data, size);
    for (std::size_t d = 0; d < data.n_dims; ++d) {
        SCOPED_TRACE(testing::Message() << "dimension " << d);
        if (!data.computes(d)) {
            EXPECT_TRUE(same(made[d], {}));
            continue;
        }
        const T* const begin = &data.values[d * data.n_observations];
        expect_exact(made[d], exact_sums(data, d), sum_error<T>(device, size),
                     static_cast<int>(data.n_observations / size + 1));
        EXPECT_EQ(made[d].count, static_cast<std::int64_t>(data.n_observations));
        EXPECT_EQ(made[d].min, *std::min_element(begin, begin + data.n_observations));
        EXPECT_EQ(made[d].max, *std::max_element(begin, begin + data.n_observations));
    }
}

template <typename T>
class partials_of : public testing::Test {};
using element_types = testing::Types<float, double>;
TYPED_TEST_SUITE(partials_of, element_types);

TYPED_TEST(partials_of, any_device_arrangement_weights_and_mask) {
    for (const sycl::device& device : devices()) {
        for (const test::arrangement& how : test::arrangements) {
            for (const auto weights :
                 {test::weighting::none, test::weighting::positive, test::weighting::odd}) {
                const bool masked = weights == test::weighting::positive;
                const test::recipe r{.n_observations = 150,
                                     .weights = weights,
                                     .mask = masked ? test::masking::first_out : test::masking::none};
                SCOPED_TRACE(how.text() + ", " + r.text());
                expect_partials(device, how, test::make<TypeParam>(r), 70);
            }
        }
    }
}

TEST(make_partials, data_far_from_zero_keep_their_digits_on_every_device) {
    for (const sycl::device& device : devices()) {
        SCOPED_TRACE(testing::Message() << "work-group limit " << test::limit_of(device) << ", seed 33");
        for (const bool weighted : {false, true}) {
            expect_partials(device, test::arrangements[1], normal<double>(1e9, 1, 600, weighted, 33), 250);
            expect_partials(device, test::arrangements[1], normal<float>(1e4, 1, 600, weighted, 33), 250);
            // A float holds no digits below 1 there: the mean is as far from any float as the elements are.
            expect_partials(device, test::arrangements[1], normal<float>(1e7, 1, 600, weighted, 33), 250);
        }
    }
}

TEST(make_partials, a_mean_near_zero_keeps_the_digits_that_the_device_gives_it) {
    const auto data = normal<float>(1e-3, 1, 1000, false, 34);
    const auto made = made_of_parts(devices()[0], test::arrangements[1], data, 1000)[0];
    const real exact = exact_sums(data, 0).mean;
    expect_near(made.mean, exact, std::numeric_limits<float>::epsilon() * absolute(exact), "mean, seed 34");
}

TEST(make_partials, equal_elements_have_no_spread) {
    for (const sycl::device& device : devices()) {
        // For some of these sizes a sum in float, divided by that of the weights, isn't the element.
        auto data = normal<float>(0, 1, 90, true, 35);
        std::fill(data.values.begin(), data.values.end(), 0.1F);
        for (const std::size_t size : {3, 23, 37, 53, 77, 90}) {
            const auto e = extract(made_of_parts(device, test::arrangements[1], data, size)[0]);
            SCOPED_TRACE(testing::Message() << "parts of " << size << " on limit " << test::limit_of(device));
            EXPECT_EQ(e.mean, 0.1F);
            EXPECT_EQ(e.central_sum[0], 0);
            EXPECT_TRUE(std::isnan(e.skewness) && std::isnan(e.kurtosis));
        }
        const auto single = extract(made_of_parts(device, test::arrangements[1], rows(data, 0, 1), 1)[0]);
        EXPECT_EQ(single.mean, 0.1F);
        EXPECT_TRUE(std::isnan(single.central_moment[0]) && std::isnan(single.variation));
    }
}

/// Calls estimates of the library in one piece; the results in the order of partial_estimates.
std::vector<double> in_one_piece(sycl::queue& queue, const host_dataset<double>& data) {
    std::vector<double> all;
    const auto append = [&]<std::size_t n>(const std::array<bool, n>& present, const auto& estimate) {
        for (const auto& output :
             test::run<double, n>(queue, test::arrangements[1], data, present, estimate)) {
            all.push_back(output[0]);
        }
    };
    append(std::array{true, true}, test::call::min_max);
    append(std::array{true}, test::call::mean);
    append(std::array{true, true, true, true}, test::call::raw_sum);
    append(std::array{true, true, true, true}, test::call::raw_moment);
    append(std::array{true, true, true}, test::call::central_sum);
    append(std::array{true, true, true}, test::call::central_moment);
    append(std::array{true}, test::call::variation);
    append(std::array{true}, test::call::skewness);
    append(std::array{true}, test::call::kurtosis);
    return all;
}

std::vector<double> listed(const partial_estimates& e) {
    std::vector<double> all{e.min, e.max, e.mean};
    all.insert(all.end(), e.raw_sum, e.raw_sum + 4);
    all.insert(all.end(), e.raw_moment, e.raw_moment + 4);
    all.insert(all.end(), e.central_sum, e.central_sum + 3);
    all.insert(all.end(), e.central_moment, e.central_moment + 3);
    all.insert(all.end(), {e.variation, e.skewness, e.kurtosis});
    return all;
}

/// Every estimate of merged parts of two elements against the library's in one piece.
void expect_as_in_one_piece(const host_dataset<double>& data) {
    sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    const auto merged = made_of_parts(queue.get_device(), test::arrangements[1], data, 2)[0];
    const auto found = listed(data.mean.empty() ? extract(merged) : extract(merged, data.mean[0]));
    const auto wanted = in_one_piece(queue, data);
    ASSERT_EQ(found.size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const double slack = 1e-13 * std::max(1.0, std::abs(wanted[i]));
        EXPECT_TRUE((std::isnan(wanted[i]) && std::isnan(found[i])) || wanted[i] == found[i] ||
                    std::abs(wanted[i] - found[i]) <= slack)
            << "place " << i << ": " << found[i] << ", in one piece " << wanted[i];
    }
}

TEST(make_partials, all_estimates_are_those_of_the_library_also_of_what_is_not_finite) {
    const std::vector<std::vector<double>> columns{{1, 2, 4, 8, 16},
                                                   {-3, 1, -4, 1, -5},
                                                   {1, infinity, 2, 3, 4},
                                                   {1, 2, 3, -infinity, 4},
                                                   {infinity, 1, 2, -infinity, 3},
                                                   {infinity, 1, infinity, 2, 3},
                                                   {1, 2, nan, 3, 4},
                                                   {nan, nan, nan, nan, nan},
                                                   {infinity, infinity, infinity, infinity, infinity}};
    for (const auto& values : columns) {
        for (const auto& weights : {std::vector<double>{}, std::vector<double>{0.5, 0, nan, 2, -1}}) {
            for (const auto& mean : {std::vector<double>{}, std::vector<double>{1.5}}) {
                SCOPED_TRACE(testing::PrintToString(values) + testing::PrintToString(weights) +
                             testing::PrintToString(mean));
                expect_as_in_one_piece({1, values.size(), values, weights, {}, mean});
            }
        }
    }
}

TEST(make_partials, counts_are_checked_and_no_observations_are_the_identity) {
    sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    const auto made = [&](std::int64_t dims, std::int64_t observations) {
        return aurelo::qtx::stats::make_partials(queue,
                                                 aurelo::qtx::stats::make_dataset<test::layout::by_dimension>(
                                                     dims, observations, static_cast<double*>(nullptr)));
    };
    const auto none = made(2, 0);
    EXPECT_EQ(none.size(), 2U);
    EXPECT_TRUE(same(none[0], {}) && same(none[1], {}));
    const std::string refused = "aurelo::qtx::stats::make_partials: invalid argument: ";
    using aurelo::qtx::invalid_argument;
    EXPECT_THAT([&] { made(0, 1); },
                testing::ThrowsMessage<invalid_argument>(refused + "n_dims is 0, which is below 1"));
    EXPECT_THAT([&] { made(1, -3); },
                testing::ThrowsMessage<invalid_argument>(refused + "n_observations is -3, which is below 0"));
}

} // namespace
