// Mean and central sums as one small value: lifted from a block's sums about a shift, merged pairwise.
#if defined(TSB_MOMENTS_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef TSB_MOMENTS_INL
#undef TSB_MOMENTS_INL
#else
#define TSB_MOMENTS_INL
#endif

#include "kernels.hpp"
#include "load-inl.hpp"

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {

HWY_INLINE vec finite_or_zero(vec v) {
    return hn::IfThenElseZero(hn::IsFinite(v), v);
}

/// a + b == sum + error, exactly, for finite values.
HWY_INLINE vec two_sum_error(vec a, vec b, vec sum) {
    const vec b_part = hn::Sub(sum, a);
    return hn::Add(hn::Sub(a, hn::Sub(sum, b_part)), hn::Sub(b, b_part));
}

/// A shift that lies beyond an eighth of the largest double would make finite elements infinitely far.
HWY_INLINE vec usable_shift(vec wanted, vec otherwise) {
    const tag d;
    const vec limit = hn::Set(d, 0x1p1021);
    return hn::IfThenElse(hn::Le(hn::Abs(wanted), limit), wanted, otherwise);
}

HWY_INLINE vec next_shift(vec shift, vec delta) {
    return usable_shift(hn::Add(shift, delta), shift);
}

/// base + correction, where a correction that overflowed into inf - inf or 0 * inf doesn't destroy an
/// infinite or a finite base: it is of lower weight than the base there.
HWY_INLINE vec corrected(vec base, vec correction) {
    const vec sum = hn::Add(base, correction);
    return hn::IfThenElse(hn::IsNaN(sum), base, sum);
}

/// The weights of the two sides of a merge, with their shares of the total.
struct weights_of_merge {
    weights_of_merge(double a, double b)
        : into(a), from(b), share_into(a / (a + b)), share_from(b / (a + b)), pair(a * share_from) {}

    double into, from, share_into, share_from;
    double pair; ///< into * from / (into + from)
};

template <int order>
struct moments {
    vec mean_high, mean_low, c2, c3, c4;

    /// From the sums of powers about `shift`. An infinite or missing mean makes every central sum NaN, as x -
    /// m would.
    static HWY_INLINE moments lift(vec shift, vec weight, double* const* sums, std::int64_t i) {
        const tag d;
        moments r;
        const vec s1 = hn::Load(d, sums[0] + i);
        const vec m = hn::Div(s1, weight);
        const vec poison = hn::Sub(m, m);
        r.mean_high = shift;
        r.mean_low = m;
        if constexpr (order >= 2) {
            const vec s2 = hn::Load(d, sums[1] + i);
            r.c2 = hn::Add(corrected(s2, hn::Neg(hn::Mul(m, s1))), poison);
            if constexpr (order >= 3) {
                const vec s3 = hn::Load(d, sums[2] + i);
                const vec m2 = hn::Mul(m, m);
                const vec three = hn::Set(d, 3.0);
                const vec c3 = hn::Mul(m, hn::Sub(hn::Mul(hn::Add(m, m), s1), hn::Mul(three, s2)));
                r.c3 = hn::Add(corrected(s3, c3), poison);
                if constexpr (order >= 4) {
                    const vec s4 = hn::Load(d, sums[3] + i);
                    const vec inner = hn::Sub(hn::Mul(hn::Set(d, 6.0), s2), hn::Mul(hn::Mul(three, m), s1));
                    const vec c4 = hn::Sub(hn::Mul(m2, inner), hn::Mul(hn::Mul(hn::Set(d, 4.0), m), s3));
                    r.c4 = hn::Add(corrected(s4, c4), poison);
                }
            }
        }
        return r;
    }

    static HWY_INLINE moments load(const totals& t, std::int64_t i) {
        const tag d;
        moments r;
        r.mean_high = hn::Load(d, t[totals::mean_high] + i);
        r.mean_low = hn::Load(d, t[totals::mean_low] + i);
        if constexpr (order >= 2) {
            r.c2 = hn::Load(d, t[totals::central2] + i);
        }
        if constexpr (order >= 3) {
            r.c3 = hn::Load(d, t[totals::central3] + i);
        }
        if constexpr (order >= 4) {
            r.c4 = hn::Load(d, t[totals::central4] + i);
        }
        return r;
    }

    HWY_INLINE void store(const totals& t, std::int64_t i) const {
        const tag d;
        hn::Store(mean_high, d, t[totals::mean_high] + i);
        hn::Store(mean_low, d, t[totals::mean_low] + i);
        if constexpr (order >= 2) {
            hn::Store(c2, d, t[totals::central2] + i);
        }
        if constexpr (order >= 3) {
            hn::Store(c3, d, t[totals::central3] + i);
        }
        if constexpr (order >= 4) {
            hn::Store(c4, d, t[totals::central4] + i);
        }
    }

    HWY_INLINE void merge(const moments& b, const weights_of_merge& w) {
        const vec delta = hn::Add(hn::Sub(b.mean_high, mean_high), hn::Sub(b.mean_low, mean_low));
        if constexpr (order >= 2) {
            merge_sums(b, w, delta);
        }
        merge_mean(b, w, delta);
    }

private:
    /// Pairwise update of the central sums; a difference of means that is no number leaves none of them.
    HWY_INLINE void merge_sums(const moments& b, const weights_of_merge& w, vec delta) {
        const tag d;
        const vec poison = hn::Sub(delta, delta);
        const vec fa = hn::Set(d, w.share_into);
        const vec fb = hn::Set(d, w.share_from);
        const vec pair = hn::Set(d, w.pair);
        const vec square = hn::Mul(delta, delta);
        if constexpr (order >= 4) {
            const vec balance = hn::Set(d, w.share_into * w.share_into - w.share_into * w.share_from +
                                               w.share_from * w.share_from);
            const vec means = hn::Mul(hn::Mul(square, square), hn::Mul(pair, balance));
            const vec twos = hn::MulAdd(hn::Mul(fa, fa), b.c2, hn::Mul(hn::Mul(fb, fb), c2));
            const vec threes = hn::Sub(hn::Mul(fa, b.c3), hn::Mul(fb, c3));
            const vec mixed = hn::MulAdd(hn::Mul(hn::Set(d, 6.0), square), twos,
                                         hn::Mul(hn::Mul(hn::Set(d, 4.0), delta), threes));
            c4 = hn::Add(corrected(hn::Add(c4, b.c4), hn::Add(means, mixed)), poison);
        }
        if constexpr (order >= 3) {
            const vec balance = hn::Set(d, w.share_into - w.share_from);
            const vec means = hn::Mul(hn::Mul(square, delta), hn::Mul(pair, balance));
            const vec twos = hn::Sub(hn::Mul(fa, b.c2), hn::Mul(fb, c2));
            const vec mixed = hn::Mul(hn::Mul(hn::Set(d, 3.0), delta), twos);
            c3 = hn::Add(corrected(hn::Add(c3, b.c3), hn::Add(means, mixed)), poison);
        }
        c2 = hn::Add(corrected(hn::Add(c2, b.c2), hn::Mul(square, pair)), poison);
    }

    /// Where the means are infinitely far apart, their weighted sum tells an infinity from a NaN.
    HWY_INLINE void merge_mean(const moments& b, const weights_of_merge& w, vec delta) {
        const tag d;
        const vec fa = hn::Set(d, w.share_into);
        const vec fb = hn::Set(d, w.share_from);
        const vec step = hn::Mul(delta, fb);
        const vec high = hn::Add(mean_high, step);
        const vec low = hn::Add(mean_low, finite_or_zero(two_sum_error(mean_high, step, high)));
        const vec sum = hn::Add(high, low);
        const vec rest = hn::Add(hn::Sub(high, sum), low);
        const mask near = hn::IsFinite(delta);
        const vec far =
            hn::Add(hn::Mul(fa, hn::Add(mean_high, mean_low)), hn::Mul(fb, hn::Add(b.mean_high, b.mean_low)));
        mean_high = hn::IfThenElse(near, sum, far);
        mean_low = hn::IfThenElseZero(hn::And(near, hn::IsFinite(sum)), rest);
    }
};

} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#endif
