// From sums to statistics: folding lanes, making sums central, merging.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "moments.cpp"
#include <hwy/foreach_target.h>

#include "kernels.hpp"
#include "moments-inl.hpp"

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {

/// Calls op(i) with vectors while they fit, then scalar(i) for the rest.
template <class Vector, class Scalar>
HWY_INLINE void for_each_lane(std::int64_t count, Vector vector, Scalar scalar) {
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag()));
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        vector(i);
    }
    for (; i < count; ++i) {
        scalar(i);
    }
}

void fold_sums(double* lane, std::int64_t rows, std::int64_t width) {
    const tag d;
    while (rows > 1) {
        rows /= 2;
        const std::int64_t half = rows * width;
        for_each_lane(
            half,
            [=](std::int64_t i) HWY_ATTR {
                hn::Store(hn::Add(hn::Load(d, lane + i), hn::LoadU(d, lane + half + i)), d, lane + i);
            },
            [=](std::int64_t i) { lane[i] += lane[half + i]; });
    }
}

void fold_extremes(double* lowest, double* highest, std::int64_t rows, std::int64_t width) {
    while (rows > 1) {
        rows /= 2;
        const std::int64_t half = rows * width;
        for (std::int64_t i = 0; i < half; ++i) {
            lowest[i] = lowest[half + i] < lowest[i] ? lowest[half + i] : lowest[i];
            highest[i] = highest[half + i] > highest[i] ? highest[half + i] : highest[i];
        }
    }
}

void repeat(double* lane, std::int64_t rows, std::int64_t width) {
    const tag d;
    for (std::int64_t have = 1; have < rows; have *= 2) {
        const std::int64_t count = have * width;
        for_each_lane(
            count, [=](std::int64_t i) HWY_ATTR { hn::StoreU(hn::Load(d, lane + i), d, lane + count + i); },
            [=](std::int64_t i) { lane[count + i] = lane[i]; });
    }
}

void move_shift(double* shift, const double* sum, double weight, std::int64_t width) {
    const tag d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const vec w = hn::Set(d, weight);
    for (std::int64_t i = 0; i < width; i += lanes) {
        const vec s = hn::Load(d, shift + i);
        hn::Store(next_shift(s, hn::Div(hn::Load(d, sum + i), w)), d, shift + i);
    }
}

template <int order>
void merge_block_of(const totals& into, double* shift, double* const* sums, const weights_of_merge& w) {
    const tag d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const vec weight = hn::Set(d, w.from);
    for (std::int64_t i = 0; i < into.pitch; i += lanes) {
        const vec s = hn::Load(d, shift + i);
        const auto block = moments<order>::lift(s, weight, sums, i);
        hn::Store(next_shift(s, block.mean_low), d, shift + i);
        if (w.into > 0) {
            auto merged = moments<order>::load(into, i);
            merged.merge(block, w);
            merged.store(into, i);
        } else {
            block.store(into, i);
        }
    }
}

void merge_block(const totals& into, double* shift, double* const* sums, weight_sums weight, int order) {
    using merge_fn = void (*)(const totals&, double*, double* const*, const weights_of_merge&);
    static constexpr merge_fn of_order[] = {merge_block_of<1>, merge_block_of<2>, merge_block_of<3>,
                                            merge_block_of<4>};
    of_order[order - 1](into, shift, sums, weights_of_merge(into.w(), weight.first));
}

/// sum + x, with the rounding error added to the low part; what is no number any more stays out of the low
/// part.
HWY_INLINE void add_to_pair(double* high, double* low, vec x, vec x_low) {
    const tag d;
    const vec h = hn::Load(d, high);
    const vec sum = hn::Add(h, x);
    const vec error = finite_or_zero(two_sum_error(h, x, sum));
    hn::Store(sum, d, high);
    hn::Store(hn::Add(hn::Load(d, low), hn::Add(error, x_low)), d, low);
}

void add_sums(const totals& into, double* const* sums, int order) {
    const tag d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (int k = 0; k < order; ++k) {
        for (std::int64_t i = 0; i < into.pitch; i += lanes) {
            add_to_pair(into[totals::sum_high + k] + i, into[totals::sum_low + k] + i,
                        hn::Load(d, sums[k] + i), hn::Zero(d));
        }
    }
}

template <int order>
void merge_moments(const totals& into, const totals& from, const weights_of_merge& w) {
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag()));
    for (std::int64_t i = 0; i < into.pitch; i += lanes) {
        auto merged = moments<order>::load(into, i);
        merged.merge(moments<order>::load(from, i), w);
        merged.store(into, i);
    }
}

void merge_pairs(const totals& into, const totals& from, int order) {
    const tag d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (int k = 0; k < order; ++k) {
        for (std::int64_t i = 0; i < into.pitch; i += lanes) {
            add_to_pair(into[totals::sum_high + k] + i, into[totals::sum_low + k] + i,
                        hn::Load(d, from[totals::sum_high + k] + i),
                        hn::Load(d, from[totals::sum_low + k] + i));
        }
    }
}

void merge_totals(const totals& into, const totals& from, const request& wanted) {
    using merge_fn = void (*)(const totals&, const totals&, const weights_of_merge&);
    static constexpr merge_fn of_order[] = {merge_moments<1>, merge_moments<2>, merge_moments<3>,
                                            merge_moments<4>};
    if (wanted.central && !wanted.about) {
        of_order[wanted.central - 1](into, from, weights_of_merge(into.w(), from.w()));
    }
    merge_pairs(into, from, wanted.about ? wanted.central : wanted.raw);
    if (wanted.extremes) {
        for (std::int64_t i = 0; i < into.pitch; ++i) {
            double& low = into[totals::lowest][i];
            double& high = into[totals::highest][i];
            low = from[totals::lowest][i] < low ? from[totals::lowest][i] : low;
            high = from[totals::highest][i] > high ? from[totals::highest][i] : high;
        }
    }
    into.add_weight(from);
}

lane_kernels make_moment_kernels() {
    return {static_cast<std::int64_t>(hn::Lanes(tag())),
            fold_sums,
            fold_extremes,
            repeat,
            move_shift,
            merge_block,
            add_sums,
            merge_totals};
}

} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tsb {
HWY_EXPORT(make_moment_kernels);
lane_kernels moment_kernels() {
    return HWY_DYNAMIC_DISPATCH(make_moment_kernels)();
}
} // namespace tsb
#endif
