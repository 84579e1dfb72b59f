#include "digit_sets.hpp"

#include "samples.hpp"

#include <cmath>

namespace peers {
namespace {

template <class F>
digit_set make(const char* name, std::size_t n, F&& value) {
    digit_set set{name, std::vector<double>(n)};
    for (std::size_t i = 0; i < n; ++i) {
        set.values[i] = value(i);
    }
    return set;
}

/// The NIST univariate sets of closed form: a centre, then pairs of steps of 0.1 to both sides of it.
digit_set alternating(const char* name, double centre, double low, double high) {
    return make(name, 1001, [=](std::size_t i) { return i == 0 ? centre : i % 2 == 1 ? low : high; });
}

} // namespace

std::vector<digit_set> digit_sets() {
    std::vector<digit_set> sets;
    sets.push_back({"NumAcc1", {10000001, 10000003, 10000002}});
    sets.push_back(alternating("NumAcc2", 1.2, 1.1, 1.3));
    sets.push_back(alternating("NumAcc3", 1000000.2, 1000000.1, 1000000.3));
    sets.push_back(alternating("NumAcc4", 10000000.2, 10000000.1, 10000000.3));
    sets.push_back(make("1e9 + N(0,1)", 100000, [](std::size_t i) { return 1e9 + normal_sample(i); }));
    sets.push_back(make("lognormal", 1000000, [](std::size_t i) { return std::exp(normal_sample(i)); }));
    sets.push_back(
        make("rising trend", 1000000, [](std::size_t i) { return 1 + 1e-3 * static_cast<double>(i); }));
    sets.push_back(make("step 0 to 1e7", 1000000, [](std::size_t i) { return i < 256 ? 0.0 : 1e7; }));
    sets.push_back(make("1e-9 scaled", 100000, [](std::size_t i) { return 1e-9 * exponential_sample(i); }));
    sets.push_back(make("2e7 float ones", 20000000, [](std::size_t) { return 1.0; }));
    sets.back().is_float = true;
    sets.back().dims = 1;
    return sets;
}

} // namespace peers
