// Loads of double and float elements as vectors of doubles, whole and partial; a partial load never touches
// an element past its count.
#if defined(TSB_LOAD_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef TSB_LOAD_INL
#undef TSB_LOAD_INL
#else
#define TSB_LOAD_INL
#endif

#include <cstdint>
#include <cstring>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using tag = hn::ScalableTag<double>;
using float_tag = hn::Rebind<float, tag>;
using vec = hn::Vec<tag>;
using mask = hn::Mask<tag>;

HWY_INLINE std::int64_t lanes() {
    return static_cast<std::int64_t>(hn::Lanes(tag()));
}

HWY_INLINE vec load_whole(const double* p) {
    return hn::LoadU(tag(), p);
}
HWY_INLINE vec load_whole(const float* p) {
    return hn::PromoteTo(tag(), hn::LoadU(float_tag(), p));
}

/// The first `count` lanes, the others 0.
template <class T>
HWY_INLINE vec load_part(const T* p, std::int64_t count) {
    using t_tag = hn::Rebind<T, tag>;
#if HWY_TARGET <= HWY_AVX2 && HWY_ARCH_X86
    const auto x = hn::MaskedLoad(hn::FirstN(t_tag(), static_cast<size_t>(count)), t_tag(), p);
#else
    HWY_ALIGN T buffer[HWY_MAX_BYTES / sizeof(T)] = {};
    std::memcpy(buffer, p, static_cast<size_t>(count) * sizeof(T));
    const auto x = hn::Load(t_tag(), buffer);
#endif
    if constexpr (sizeof(T) == sizeof(double)) {
        return x;
    } else {
        return hn::PromoteTo(tag(), x);
    }
}

/// Elements of a vector that lies in the stripe whole.
struct whole_vector {
    template <class T>
    HWY_INLINE vec operator()(const T* p) const {
        return load_whole(p);
    }
    HWY_INLINE vec keep(vec v) const { return v; }
    template <class M>
    HWY_INLINE M keep(M m) const {
        return m;
    }
};

/// Elements of the vector in which the stripe ends; keep() clears the lanes behind the end.
struct part_of_vector {
    explicit HWY_INLINE part_of_vector(std::int64_t n)
        : count(n), inside(hn::FirstN(tag(), static_cast<size_t>(n))) {}

    template <class T>
    HWY_INLINE vec operator()(const T* p) const {
        return load_part(p, count);
    }
    HWY_INLINE vec keep(vec v) const { return hn::IfThenElseZero(inside, v); }
    template <class M>
    HWY_INLINE M keep(M m) const {
        return hn::And(inside, m);
    }

    std::int64_t count;
    mask inside;
};

} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#endif
