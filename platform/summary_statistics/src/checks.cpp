#include "checks.hpp"

#include "tsb/summary_statistics.h"

#include <algorithm>

namespace tsb {

namespace {

/// \brief What one estimate bit needs and fills.
struct estimate {
    std::uint64_t bit;
    result slot;
    std::int32_t missing; ///< status when its array is null
    int central;          ///< order of the sums about the mean that it is made from
    int raw;
};

// In the order in which missing arrays are reported.
constexpr estimate estimates_known[] = {
    {TSB_SS_EST_MEAN, result::mean, TSB_SS_NO_MEAN, 1, 0},
    {TSB_SS_EST_RAW2, result::raw2, TSB_SS_NO_RAW2, 0, 2},
    {TSB_SS_EST_RAW3, result::raw3, TSB_SS_NO_RAW3, 0, 3},
    {TSB_SS_EST_RAW4, result::raw4, TSB_SS_NO_RAW4, 0, 4},
    {TSB_SS_EST_CENTRAL2, result::central2, TSB_SS_NO_CENTRAL2, 2, 0},
    {TSB_SS_EST_CENTRAL3, result::central3, TSB_SS_NO_CENTRAL3, 3, 0},
    {TSB_SS_EST_CENTRAL4, result::central4, TSB_SS_NO_CENTRAL4, 4, 0},
    {TSB_SS_EST_KURTOSIS, result::kurtosis, TSB_SS_NO_KURTOSIS, 4, 0},
    {TSB_SS_EST_SKEWNESS, result::skewness, TSB_SS_NO_SKEWNESS, 3, 0},
    {TSB_SS_EST_MIN, result::minimum, TSB_SS_NO_MIN, 0, 0},
    {TSB_SS_EST_MAX, result::maximum, TSB_SS_NO_MAX, 0, 0},
    {TSB_SS_EST_VARIATION, result::variation, TSB_SS_NO_VARIATION, 2, 0},
    {TSB_SS_EST_SUM, result::sum, TSB_SS_NO_SUM, 0, 1},
    {TSB_SS_EST_RAW_SUM2, result::raw_sum2, TSB_SS_NO_RAW_SUM2, 0, 2},
    {TSB_SS_EST_RAW_SUM3, result::raw_sum3, TSB_SS_NO_RAW_SUM3, 0, 3},
    {TSB_SS_EST_RAW_SUM4, result::raw_sum4, TSB_SS_NO_RAW_SUM4, 0, 4},
    {TSB_SS_EST_CENTRAL_SUM2, result::central_sum2, TSB_SS_NO_CENTRAL_SUM2, 2, 0},
    {TSB_SS_EST_CENTRAL_SUM3, result::central_sum3, TSB_SS_NO_CENTRAL_SUM3, 3, 0},
    {TSB_SS_EST_CENTRAL_SUM4, result::central_sum4, TSB_SS_NO_CENTRAL_SUM4, 4, 0},
};

constexpr std::int64_t address_space = std::int64_t{1}
                                       << 56; // no process has more on today's 64-bit processors

constexpr std::uint64_t all_bits() {
    std::uint64_t bits = 0;
    for (const estimate& e : estimates_known) {
        bits |= e.bit;
    }
    return bits;
}

constexpr std::uint64_t about_bits() {
    std::uint64_t bits = 0;
    for (const estimate& e : estimates_known) {
        bits |= e.central >= 2 ? e.bit : 0;
    }
    return bits;
}

std::int32_t check_method(std::uint64_t estimates, std::int32_t method) {
    const bool known = method == TSB_SS_METHOD_FAST || method == TSB_SS_METHOD_STANDARD;
    const bool about = method == TSB_SS_METHOD_USER_MEAN && (estimates & ~about_bits()) == 0;
    return known || about ? TSB_SS_OK : TSB_SS_BAD_METHOD;
}

std::int32_t take_estimates(const task_record& t, std::uint64_t estimates, problem& p) {
    for (const estimate& e : estimates_known) {
        if (!(estimates & e.bit)) {
            continue;
        }
        void* array = t.results[static_cast<int>(e.slot)];
        if (!array) {
            return e.missing;
        }
        p.outputs[static_cast<std::size_t>(e.slot)] = array;
        p.wanted.central = std::max(p.wanted.central, e.central);
        p.wanted.raw = std::max(p.wanted.raw, e.raw);
    }
    p.wanted.extremes = (estimates & (TSB_SS_EST_MIN | TSB_SS_EST_MAX)) != 0;
    return TSB_SS_OK;
}

} // namespace

std::int32_t check_data(const task_record& t) {
    const std::int64_t n_observations = t.n_observations ? t.integer(t.n_observations) : 0;
    if (n_observations < 1) {
        return TSB_SS_BAD_OBSERVATIONS;
    }
    const std::int64_t n_dims = t.n_dims ? t.integer(t.n_dims) : 0;
    if (n_dims < 1) {
        return TSB_SS_BAD_DIMENSIONS;
    }
    const auto size = static_cast<std::int64_t>(t.type);
    if (n_observations > address_space / size / n_dims) {
        return TSB_SS_BAD_OBSERVATIONS;
    }
    const std::int64_t storage = t.storage ? t.integer(t.storage) : 0;
    if (storage != TSB_SS_STORAGE_BY_DIMENSION && storage != TSB_SS_STORAGE_BY_OBSERVATION) {
        return TSB_SS_BAD_STORAGE;
    }
    return t.observations ? TSB_SS_OK : TSB_SS_NO_OBSERVATIONS;
}

std::int32_t make_problem(const task_record& t, std::uint64_t estimates, std::int32_t method, problem& p) {
    if (const std::int32_t status = check_data(t)) {
        return status;
    }
    if (estimates & ~all_bits()) {
        return TSB_SS_BAD_ESTIMATES;
    }
    if (const std::int32_t status = check_method(estimates, method)) {
        return status;
    }
    p.n_dims = t.integer(t.n_dims);
    p.n_observations = t.integer(t.n_observations);
    p.by_dimension = t.integer(t.storage) == TSB_SS_STORAGE_BY_DIMENSION;
    p.is_float = t.type == element_type::float32;
    p.observations = t.observations;
    p.weights = t.weights;
    p.mask = {t.mask, t.width == integer_width::bits64};
    p.wanted.about = method == TSB_SS_METHOD_USER_MEAN;
    if (p.wanted.about) {
        p.user_mean = t.results[static_cast<int>(result::mean)];
        if (!p.user_mean) {
            return TSB_SS_NO_MEAN;
        }
    }
    return take_estimates(t, estimates, p);
}

} // namespace tsb
