// The accumulators of one vector of lanes: sums of powers about a shift and about zero, and extremes.
#if defined(TSB_SUMS_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef TSB_SUMS_INL
#undef TSB_SUMS_INL
#else
#define TSB_SUMS_INL
#endif

#include "kernels.hpp"
#include "load-inl.hpp"

#include <algorithm>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {

/// The sums about the shift, to order C. The order of operations is the same for every C, and so are the
/// bits.
template <int C>
struct central_sums {
    vec shift, s[std::max(C, 1)];

    HWY_INLINE void load(const lane_arrays& a, std::int64_t i, const double* part) {
        if constexpr (C > 0) {
            shift = hn::Load(tag(), a.shift + i);
            for (int k = 0; k < C; ++k) {
                s[k] = hn::Load(tag(), part + k * lanes());
            }
        }
    }

    HWY_INLINE void clear(const lane_arrays& a, std::int64_t i) {
        if constexpr (C > 0) {
            shift = hn::Load(tag(), a.shift + i);
            for (int k = 0; k < C; ++k) {
                s[k] = hn::Zero(tag());
            }
        }
    }

    HWY_INLINE void store(double* part) const {
        for (int k = 0; k < C; ++k) {
            hn::Store(s[k], tag(), part + k * lanes());
        }
    }

    HWY_INLINE void add_to(const lane_arrays& a, std::int64_t i) const {
        for (int k = 0; k < C; ++k) {
            hn::Store(hn::Add(hn::Load(tag(), a.central[k] + i), s[k]), tag(), a.central[k] + i);
        }
    }

    /// e is the distance from the shift.
    HWY_INLINE void add(vec e) {
        s[0] = hn::Add(s[0], e);
        if constexpr (C >= 2) {
            const vec e2 = hn::Mul(e, e);
            s[1] = hn::Add(s[1], e2);
            if constexpr (C >= 3) {
                s[2] = hn::MulAdd(e2, e, s[2]);
            }
            if constexpr (C >= 4) {
                s[3] = hn::MulAdd(e2, e2, s[3]);
            }
        }
    }

    HWY_INLINE void add(vec e, vec w) {
        const vec t1 = hn::Mul(w, e);
        s[0] = hn::Add(s[0], t1);
        if constexpr (C >= 2) {
            const vec t2 = hn::Mul(t1, e);
            s[1] = hn::Add(s[1], t2);
            if constexpr (C >= 3) {
                const vec t3 = hn::Mul(t2, e);
                s[2] = hn::Add(s[2], t3);
                if constexpr (C >= 4) {
                    s[3] = hn::MulAdd(t3, e, s[3]);
                }
            }
        }
    }
};

/// The sums about zero, to order R.
template <int R>
struct raw_sums {
    vec s[std::max(R, 1)];

    HWY_INLINE void load(const double* part) {
        for (int k = 0; k < R; ++k) {
            s[k] = hn::Load(tag(), part + k * lanes());
        }
    }

    HWY_INLINE void clear() {
        for (int k = 0; k < R; ++k) {
            s[k] = hn::Zero(tag());
        }
    }

    HWY_INLINE void store(double* part) const {
        for (int k = 0; k < R; ++k) {
            hn::Store(s[k], tag(), part + k * lanes());
        }
    }

    HWY_INLINE void add_to(const lane_arrays& a, std::int64_t i) const {
        for (int k = 0; k < R; ++k) {
            hn::Store(hn::Add(hn::Load(tag(), a.raw[k] + i), s[k]), tag(), a.raw[k] + i);
        }
    }

    /// t is the element times its weight.
    HWY_INLINE void add(vec x, vec t) {
        s[0] = hn::Add(s[0], t);
        if constexpr (R >= 2) {
            s[1] = hn::MulAdd(t, x, s[1]);
        }
        if constexpr (R >= 3) {
            const vec t2 = hn::Mul(t, x);
            s[2] = hn::MulAdd(t2, x, s[2]);
            if constexpr (R >= 4) {
                s[3] = hn::MulAdd(hn::Mul(t2, x), x, s[3]);
            }
        }
    }
};

/// What the walks of accumulate-inl.hpp need of a kernel: an accumulator of one vector of lanes, which takes
/// elements of type T one vector at a time. A partial sum begins with clear(), may go through memory by
/// store() and load(), and ends with add_to(), which adds it to the sums proper. i is the first lane.
template <class T, int C, int R, weighting how>
struct sums_of_powers {
    using element = T;
    static constexpr weighting weights = how;
    static constexpr bool weighted = how != unweighted;
    static constexpr int parts = C + R;
    static_assert(parts <= max_parts_per_lane);
    central_sums<C> c;
    raw_sums<R> r;

    HWY_INLINE void load(const lane_arrays& a, std::int64_t i) {
        c.load(a, i, a.parts + i * parts);
        r.load(a.parts + i * parts + C * lanes());
    }
    HWY_INLINE void clear(const lane_arrays& a, std::int64_t i) {
        c.clear(a, i);
        r.clear();
    }
    HWY_INLINE void store(const lane_arrays& a, std::int64_t i) const {
        c.store(a.parts + i * parts);
        r.store(a.parts + i * parts + C * lanes());
    }
    HWY_INLINE void add_to(const lane_arrays& a, std::int64_t i) const {
        c.add_to(a, i);
        r.add_to(a, i);
    }

    template <class Elements>
    HWY_INLINE void take(Elements elements, const T* p, vec w) {
        const vec x = elements(p);
        if constexpr (C > 0) {
            const vec e = elements.keep(hn::Sub(x, c.shift));
            if constexpr (weighted) {
                c.add(e, w);
            } else {
                c.add(e);
            }
        }
        if constexpr (R > 0) {
            if constexpr (weighted) {
                r.add(x, hn::Mul(w, x));
            } else {
                r.add(x, x);
            }
        }
    }
};

/// Comparisons keep the accumulator where an element is NaN.
template <class T>
struct extremes_of {
    using element = T;
    static constexpr weighting weights = unweighted;
    vec low, high;

    HWY_INLINE void load(const lane_arrays& a, std::int64_t i) {
        low = hn::Load(tag(), a.lowest + i);
        high = hn::Load(tag(), a.highest + i);
    }
    HWY_INLINE void clear(const lane_arrays& a, std::int64_t i) { load(a, i); }
    HWY_INLINE void store(const lane_arrays& a, std::int64_t i) const {
        hn::Store(low, tag(), a.lowest + i);
        hn::Store(high, tag(), a.highest + i);
    }
    HWY_INLINE void add_to(const lane_arrays& a, std::int64_t i) const { store(a, i); }

    template <class Elements>
    HWY_INLINE void take(Elements elements, const T* p, vec) {
        const vec x = elements(p);
        low = hn::IfThenElse(elements.keep(hn::Lt(x, low)), x, low);
        high = hn::IfThenElse(elements.keep(hn::Gt(x, high)), x, high);
    }
};

} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#endif
