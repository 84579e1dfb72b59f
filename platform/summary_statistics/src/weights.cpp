// Weights as the kernels want them: doubles, in place of those that are not above 0 a 1.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "weights.cpp"
#include <hwy/foreach_target.h>

#include "kernels.hpp"
#include "load-inl.hpp"

#include <algorithm>
#include <hwy/cache_control.h>

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {

HWY_INLINE vec usable(vec w) {
    return hn::IfThenElse(hn::Gt(w, hn::Zero(tag())), w, hn::Set(tag(), 1.0));
}

/// Sums of the weights and of their squares. Four accumulators each, because one would wait for its own
/// additions; a second level, because equal weights have equal rounding errors.
class running_sums {
public:
    HWY_INLINE running_sums() : first_(hn::Zero(tag())), second_(hn::Zero(tag())) { clear(); }
    HWY_INLINE void add(int k, vec w) {
        part_[k] = hn::Add(part_[k], w);
        part_of_squares_[k] = hn::MulAdd(w, w, part_of_squares_[k]);
    }
    HWY_INLINE void flush() {
        first_ = hn::Add(first_, total(part_));
        second_ = hn::Add(second_, total(part_of_squares_));
        clear();
    }
    HWY_INLINE weight_sums result() {
        flush();
        return {hn::GetLane(hn::SumOfLanes(tag(), first_)), hn::GetLane(hn::SumOfLanes(tag(), second_))};
    }

private:
    HWY_INLINE void clear() {
        for (int k = 0; k < 4; ++k) {
            part_[k] = part_of_squares_[k] = hn::Zero(tag());
        }
    }
    static HWY_INLINE vec total(const vec (&part)[4]) {
        return hn::Add(hn::Add(part[0], part[1]), hn::Add(part[2], part[3]));
    }

    vec part_[4], part_of_squares_[4], first_, second_;
};

/// N streams at a time, because the weights come from memory like the data.
template <class T, int N>
HWY_INLINE weight_sums prepare_streams(const weight_streams& from, double* prepared,
                                       std::int64_t prepared_gap) {
    const tag d;
    const T* weights = static_cast<const T*>(from.first);
    running_sums sums;
    std::int64_t i = 0;
    for (std::int64_t steps = 1; i + lanes() <= from.count; i += lanes(), ++steps) {
        for (int s = 0; s < N; ++s) {
            const T* p = weights + s * from.gap + i;
            hwy::Prefetch(p + prefetch_bytes / static_cast<std::int64_t>(sizeof(T)));
            const vec w = usable(load_whole(p));
            hn::StoreU(w, d, prepared + s * prepared_gap + i);
            sums.add(s, w);
        }
        if (steps % (std::int64_t{n_streams} * rounds_of_part) == 0) {
            sums.flush();
        }
    }
    for (int s = 0; s < N; ++s) {
        double* end = prepared + s * prepared_gap + i;
        hn::StoreU(hn::Zero(d), d, end);
        if (i < from.count) {
            const part_of_vector elements(from.count - i);
            const vec w = elements.keep(usable(elements(weights + s * from.gap + i)));
            hn::StoreU(w, d, end);
            sums.add(s, w);
        }
        std::fill_n(end + lanes(), max_lanes, 0.0);
    }
    return sums.result();
}

template <class T>
weight_sums prepare(const weight_streams& from, double* prepared, std::int64_t prepared_gap) {
    return from.streams == n_streams ? prepare_streams<T, n_streams>(from, prepared, prepared_gap)
                                     : prepare_streams<T, 1>(from, prepared, prepared_gap);
}

double sum_of(const double* prepared, std::int64_t count) {
    vec sum = hn::Zero(tag());
    for (std::int64_t i = 0; i < count; i += lanes()) {
        const std::int64_t part = count - i < lanes() ? count - i : lanes();
        sum = hn::Add(sum, part_of_vector(part)(prepared + i));
    }
    return hn::GetLane(hn::SumOfLanes(tag(), sum));
}

weight_kernels make_weighing_kernels() {
    return {prepare<double>, prepare<float>, sum_of};
}

} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tsb {
HWY_EXPORT(make_weighing_kernels);
weight_kernels weighing_kernels() {
    return HWY_DYNAMIC_DISPATCH(make_weighing_kernels)();
}
} // namespace tsb
#endif
