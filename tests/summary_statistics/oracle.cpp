#include "oracle.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <quadmath.h>
#include <vector>

namespace oracle {

namespace {

struct weighted_value {
    quad x, w;
};

std::vector<weighted_value> collect(std::int64_t n, const element& x, const element& weight) {
    std::vector<weighted_value> all;
    all.reserve(static_cast<std::size_t>(n));
    for (std::int64_t i = 0; i < n; ++i) {
        const double w = weight ? weight(i) : 1.0;
        all.push_back({x(i), w > 0 ? w : 1.0});
    }
    return all;
}

quad power(quad base, int k) {
    quad r = 1;
    for (int i = 0; i < k; ++i) {
        r *= base;
    }
    return r;
}

} // namespace

estimates compute(std::int64_t n, const element& x, const element& weight, const double* user_mean) {
    const std::vector<weighted_value> all = collect(n, x, weight);
    quad w1 = 0, w2 = 0, raw[5] = {}, raw_abs[5] = {};
    for (const auto& [v, w] : all) {
        w1 += w;
        w2 += w * w;
        for (int k = 1; k <= 4; ++k) {
            raw[k] += w * power(v, k);
            raw_abs[k] += w * power(fabsq(v), k);
        }
    }
    const quad mean = user_mean ? quad(*user_mean) : raw[1] / w1;
    quad central[5] = {}, central_abs[5] = {}, spread = 0;
    for (const auto& [v, w] : all) {
        spread += w * fabsq(v - mean) / w1;
    }
    for (const auto& [v, w] : all) {
        for (int k = 2; k <= 4; ++k) {
            central[k] += w * power(v - mean, k);
            central_abs[k] += w * power(fabsq(v - mean) + spread, k);
        }
    }
    const quad f = w1 / (w1 * w1 - w2);
    const quad variance = central[2] * f;
    const quad relative = central[2] > 0 ? central_abs[2] / central[2] + 8 : quad(0);
    const quad v15 = sqrtq(variance * variance * variance);
    const quad mean_scale = user_mean ? quad(0) : fabsq(mean) + 2 * spread;

    estimates e{};
    auto put = [&e](int at, quad value, quad scale) {
        e.value[static_cast<std::size_t>(at)] = value;
        e.scale[static_cast<std::size_t>(at)] = scale;
    };
    put(0, mean, mean_scale);
    for (int k = 2; k <= 4; ++k) {
        put(k - 1, raw[k] / w1, raw_abs[k] / w1);
        const quad by_weight = k == 2 ? f : 1 / w1;
        put(k + 2, central[k] * by_weight, central_abs[k] * by_weight);
        put(k + 9, central[k], central_abs[k]);
    }
    for (int k = 1; k <= 4; ++k) {
        put(k + 6, raw[k], raw_abs[k]);
    }
    const quad kurtosis = central[4] / w1 / (variance * variance) - 3;
    put(14, kurtosis, central_abs[4] / w1 / (variance * variance) + (fabsq(kurtosis) + 3) * 2 * relative);
    const quad skewness = central[3] / w1 / v15;
    put(15, skewness, central_abs[3] / w1 / v15 + fabsq(skewness) * (2 * relative));
    const quad variation = sqrtq(variance) / mean;
    put(16, variation, fabsq(variation) * (relative + mean_scale / fabsq(mean)));
    const auto [low, high] =
        std::minmax_element(all.begin(), all.end(), [](auto a, auto b) { return a.x < b.x; });
    put(17, low->x, 0);
    put(18, high->x, 0);
    return e;
}

double digits(double got, quad exact) {
    if (quad(got) == exact) {
        return 17;
    }
    const quad error = fabsq(quad(got) - exact) / (exact == 0 ? quad(1) : fabsq(exact));
    return std::clamp(static_cast<double>(-log10q(error)), 0.0, 17.0);
}

} // namespace oracle
