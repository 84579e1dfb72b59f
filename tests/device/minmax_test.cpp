#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

#include <algorithm>
#include <limits>

namespace {

using test::masking;

template <typename T>
constexpr T largest = std::numeric_limits<T>::max();
template <typename T>
constexpr T infinity = std::numeric_limits<T>::infinity();

template <typename T>
test::host_dataset<T> rows(std::initializer_list<std::vector<T>> dimensions) {
    test::host_dataset<T> data;
    for (const auto& row : dimensions) {
        ++data.n_dims;
        data.n_observations = row.size();
        data.values.insert(data.values.end(), row.begin(), row.end());
    }
    return data;
}

/// Row counts on the edges of a plan: single steps, tails, full groups, intermediate passes, five passes
/// deep.
std::vector<std::size_t> edge_counts(std::size_t wg) {
    std::vector<std::size_t> counts{1, wg - 1, wg, wg + 1, 2 * wg, 2 * wg + wg / 2};
    if (wg <= 96) {
        counts.insert(counts.end(), {wg * wg, wg * wg + 1});
    }
    if (wg <= 4) {
        counts.insert(counts.end(), {wg * wg * wg * wg * wg, wg * wg * wg * wg * wg + 1});
    }
    return counts;
}

template <typename T>
void expect_extremes(sycl::queue& queue, const test::host_dataset<T>& data) {
    for (const auto& how : test::arrangements) {
        SCOPED_TRACE(how.text());
        const auto min = test::run<T, 1>(queue, how, data, {true}, test::call::min);
        const auto max = test::run<T, 1>(queue, how, data, {true}, test::call::max);
        const auto both = test::run<T, 2>(queue, how, data, {true, true}, test::call::min_max);
        EXPECT_EQ(both[0], min[0]);
        EXPECT_EQ(both[1], max[0]);
        for (std::size_t d = 0; d < data.n_dims; ++d) {
            const auto row = data.values.begin() + static_cast<std::ptrdiff_t>(d * data.n_observations);
            const auto [low, high] =
                std::minmax_element(row, row + static_cast<std::ptrdiff_t>(data.n_observations));
            EXPECT_EQ(min[0][d], data.computes(d) ? std::min(*low, largest<T>) : test::untouched<T>) << d;
            EXPECT_EQ(max[0][d], data.computes(d) ? std::max(*high, -largest<T>) : test::untouched<T>) << d;
        }
    }
}

template <typename T>
void expect_extremes_on_all_edges(sycl::queue& queue, std::size_t wg) {
    unsigned seed = 1;
    for (const std::size_t n : edge_counts(wg)) {
        for (const auto mask : {masking::none, masking::first_out, masking::alternate, masking::all_out}) {
            const test::recipe recipe{
                .n_dims = n > 2000 ? 2u : 3u, .n_observations = n, .mask = mask, .seed = ++seed};
            SCOPED_TRACE(recipe.text());
            expect_extremes(queue, test::make<T>(recipe));
        }
    }
}

} // namespace

class minmax : public test::on_every_gpu {};
ON_EVERY_GPU(minmax);

TEST_P(minmax, float_extremes_on_all_edges_of_the_plan) {
    expect_extremes_on_all_edges<float>(queue, wg());
}

TEST_P(minmax, double_extremes_on_all_edges_of_the_plan) {
    expect_extremes_on_all_edges<double>(queue, wg());
}

TEST_P(minmax, an_extreme_in_any_place_is_found) {
    const std::size_t n = 2 * wg() + 1;
    for (const std::size_t place : {std::size_t{0}, wg() - 1, wg(), n - 1}) {
        SCOPED_TRACE(place);
        std::vector<double> low(n, -1);
        std::vector<double> high(n, 1);
        low[place] = -2;
        high[place] = 2;
        expect_extremes(queue, rows<double>({low, high}));
    }
}

TEST_P(minmax, rows_of_one_sign_and_infinities) {
    for (const std::size_t n : {std::size_t{1}, wg(), 3 * wg() + 1}) {
        SCOPED_TRACE(n);
        std::vector<float> two_values(n, -1.0F);
        two_values.back() = 0;
        expect_extremes(
            queue,
            rows<float>({std::vector<float>(n, -7.5F), two_values, std::vector<float>(n, infinity<float>),
                         std::vector<float>(n, -infinity<float>), std::vector<float>(n, -largest<float>)}));
    }
}

TEST_P(minmax, a_row_of_nan_gives_the_neutral_value) {
    const auto data = rows<double>({std::vector<double>(wg() + 1, std::numeric_limits<double>::quiet_NaN())});
    for (const auto& how : test::arrangements) {
        const auto both = test::run<double, 2>(queue, how, data, {true, true}, test::call::min_max);
        EXPECT_EQ(both[0][0], largest<double>) << how.text();
        EXPECT_EQ(both[1][0], -largest<double>) << how.text();
    }
}

TEST_P(minmax, many_dimensions) {
    for (const std::size_t n_dims : {64u, 1000u}) {
        const test::recipe recipe{.n_dims = n_dims, .n_observations = std::min<std::size_t>(wg() + 1, 97)};
        SCOPED_TRACE(recipe.text());
        expect_extremes(queue, test::make<float>(recipe));
    }
}
