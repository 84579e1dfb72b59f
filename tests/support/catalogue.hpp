#pragma once

#include "oracle.hpp"
#include "run.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace test {

template <typename T>
using outputs = std::vector<std::vector<T>>;

/// An estimate with all of its outputs, and what an oracle, or what else knows the sums, says of each, counted from 0.
template <typename T, typename Oracle = oracle<T>>
struct estimate {
    std::string name;
    std::function<outputs<T>(sycl::queue&, const arrangement&, const host_dataset<T>&)> run;
    std::function<decltype(std::declval<Oracle>().raw_sum(1))(const Oracle&, int k)> expected;
};

template <typename T, typename Oracle, std::size_t n, typename Call, typename Expected>
estimate<T, Oracle> make_estimate(const char* name, const Call& call, const Expected& expected) {
    const auto run = [call](sycl::queue& queue, const arrangement& how, const host_dataset<T>& data) {
        std::array<bool, n> all;
        all.fill(true);
        const auto got = test::run<T, n>(queue, how, data, all, call);
        return outputs<T>(got.begin(), got.end());
    };
    return {name, run, expected};
}

/// Every estimate of a method that gives one or more results of several observations.
template <typename T, stats::method M = stats::method::fast, typename Oracle = oracle<T>>
std::vector<estimate<T, Oracle>> estimates() {
    constexpr bool fast = M == stats::method::fast;
    std::vector<estimate<T, Oracle>> all;
    // Forms with a mean in front exist for the fast method only.
#define QTX_ADD(N, NAME, EXPECTED)                                                                           \
    all.push_back(make_estimate<T, Oracle, N>(                                                               \
        #NAME,                                                                                               \
        [](sycl::queue & queue, const auto& first, const auto&... rest)                                      \
            -> decltype(stats::NAME<M>(queue, first, rest...)) requires(                                     \
                fast || requires { first.n_dims; }) { return stats::NAME<M>(queue, first, rest...); },       \
        [](const Oracle& o, [[maybe_unused]] int k) { return o.EXPECTED; }))
    QTX_ADD(1, mean, raw_moment(1));
    QTX_ADD(4, raw_sum, raw_sum(k + 1));
    QTX_ADD(4, raw_moment, raw_moment(k + 1));
    QTX_ADD(3, central_sum, central_sum(k + 2));
    QTX_ADD(3, central_moment, central_moment(k + 2));
    QTX_ADD(1, variation, variation());
    QTX_ADD(1, skewness, skewness());
    QTX_ADD(1, kurtosis, kurtosis());
    if constexpr (fast) {
        QTX_ADD(2, min_max, extreme(k));
        QTX_ADD(1, min, extreme(0));
        QTX_ADD(1, max, extreme(1));
    }
#undef QTX_ADD
    return all;
}

/// Calls `check(got, answer, computed)` for every output and dimension.
template <typename T, typename Oracle, typename Check>
void for_each_result(const estimate<T, Oracle>& each, const outputs<T>& got, const host_dataset<T>& data,
                     const std::vector<Oracle>& oracles, const Check& check) {
    for (std::size_t k = 0; k < got.size(); ++k) {
        for (std::size_t d = 0; d < data.n_dims; ++d) {
            SCOPED_TRACE(each.name + ", output " + std::to_string(k) + ", dimension " + std::to_string(d));
            check(got[k][d], each.expected(oracles[d], static_cast<int>(k)), data.computes(d));
        }
    }
}

template <typename T>
std::vector<oracle<T>> oracles_of(const host_dataset<T>& data, std::size_t wg) {
    std::vector<oracle<T>> all;
    for (std::size_t d = 0; d < data.n_dims; ++d) {
        all.emplace_back(data, d, wg);
    }
    return all;
}

/// Whether a result is within its bound; of masked dimensions, whether it is as it was.
template <typename T>
testing::AssertionResult right(T got, const answer& expected, bool computed) {
    const real distance = absolute(real(got) - (computed ? expected.value : real(untouched<T>)));
    if (distance <= (computed ? expected.bound : real(0))) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "got " << got << ", expected " << static_cast<double>(expected.value) << ", off by "
           << static_cast<double>(distance) << ", bound " << static_cast<double>(expected.bound)
           << (computed ? "" : ", masked");
}

} // namespace test
