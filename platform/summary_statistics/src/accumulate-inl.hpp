// The walks over element data. Compiled once per element type and instruction set.
#if defined(TSB_ACCUMULATE_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef TSB_ACCUMULATE_INL
#undef TSB_ACCUMULATE_INL
#else
#define TSB_ACCUMULATE_INL
#endif

#include "kernels.hpp"
#include "load-inl.hpp"
#include "sums-inl.hpp"

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tsb {
namespace HWY_NAMESPACE {

/// The weights of the lanes of vector v.
template <weighting how>
HWY_INLINE vec weights_of(const lane_arrays& a, const double* stripe_weights, std::int64_t v) {
    const tag d;
    if constexpr (how == unweighted) {
        return hn::Zero(d);
    } else if constexpr (how == weight_per_lane) {
        return hn::LoadU(d, stripe_weights + v * lanes());
    } else {
        const vec w = hn::LoadU(d, stripe_weights + a.weight_offset[v]);
        return hn::TableLookupLanes(w, hn::SetTableIndices(d, a.weight_lane + v * lanes()));
    }
}

/// \brief The walks of one kernel. Arguments go by value: vector stores may alias anything that is in memory.
template <class Accumulator>
struct walk {
    using T = typename Accumulator::element;

    /// Elements from vector v of a stripe to what the walk reads a little later: 5 to 15 % more bandwidth
    /// than the processor's own prefetchers reach with four streams. Past the end of a stripe the next one
    /// goes on.
    static HWY_INLINE std::int64_t distance_ahead(const stripe_block& b, std::int64_t v) {
        // Long stripes keep their accumulators in memory, whose loads take part of the time that a request needs.
        const std::int64_t bytes = b.vectors > long_stripe ? 2 * prefetch_bytes : prefetch_bytes;
        const std::int64_t ahead = bytes / static_cast<std::int64_t>(sizeof(T));
        const std::int64_t stripe = b.vectors * lanes() + b.tail;
        return v * lanes() + ahead < stripe ? ahead : ahead - stripe + b.stride;
    }

    template <int N, class Elements>
    static HWY_INLINE void take_streams(Accumulator& sums, const stripe_block& b, const lane_arrays& a,
                                        std::int64_t t, std::int64_t v, Elements elements) {
        const T* p = static_cast<const T*>(b.first) + t * b.stride + v * lanes();
        const T* soon = p + distance_ahead(b, v);
        const double* w = b.weights + t * b.weight_stride;
#pragma GCC unroll 4
        for (int s = 0; s < N; ++s) {
            hwy::Prefetch(soon + s * b.stream_gap);
            sums.take(elements, p + s * b.stream_gap,
                      weights_of<Accumulator::weights>(a, w + s * b.weight_gap, v));
        }
    }

    /// Stripes of min_vectors vectors: the accumulators stay in registers.
    template <int N>
    static HWY_INLINE void narrow(const stripe_block b, const lane_arrays a) {
        for (std::int64_t begin = 0; begin < b.rounds; begin += rounds_of_part) {
            const std::int64_t end = HWY_MIN(begin + rounds_of_part, b.rounds);
            Accumulator sums[min_vectors];
#pragma GCC unroll 4
            for (int v = 0; v < min_vectors; ++v) {
                sums[v].clear(a, v * lanes());
            }
            for (std::int64_t t = begin; t < end; ++t) {
#pragma GCC unroll 4
                for (int v = 0; v < min_vectors; ++v) {
                    take_streams<N>(sums[v], b, a, t, v, whole_vector{});
                }
            }
#pragma GCC unroll 4
            for (int v = 0; v < min_vectors; ++v) {
                sums[v].add_to(a, v * lanes());
            }
        }
    }

    /// One load and one store of an accumulator serve all streams.
    template <int N, class Elements>
    static HWY_INLINE void through_memory(const stripe_block& b, const lane_arrays& a, std::int64_t t,
                                          std::int64_t v, Elements elements) {
        const std::int64_t i = v * lanes();
        Accumulator sums;
        if (t % rounds_of_part == 0) {
            sums.clear(a, i);
        } else {
            sums.load(a, i);
        }
        take_streams<N>(sums, b, a, t, v, elements);
        if ((t + 1) % rounds_of_part == 0 || t + 1 == b.rounds) {
            sums.add_to(a, i);
        } else {
            sums.store(a, i);
        }
    }

    /// Stripes of any length.
    template <int N>
    static HWY_INLINE void any(const stripe_block b, const lane_arrays a) {
        for (std::int64_t t = 0; t < b.rounds; ++t) {
            for (std::int64_t v = 0; v < b.vectors; ++v) {
                through_memory<N>(b, a, t, v, whole_vector{});
            }
            if (b.tail) {
                through_memory<N>(b, a, t, b.vectors, part_of_vector(b.tail));
            }
        }
    }

    static void run(const stripe_block& b, const lane_arrays& a) {
        if (b.streams != n_streams) {
            any<1>(b, a);
        } else if (b.vectors == min_vectors && b.tail == 0) {
            narrow<n_streams>(b, a);
        } else {
            any<n_streams>(b, a);
        }
    }
};

template <class T, int C, int R>
void enter(accumulate_fn (&slot)[n_weightings]) {
    slot[unweighted] = walk<sums_of_powers<T, C, R, unweighted>>::run;
    slot[weight_per_lane] = walk<sums_of_powers<T, C, R, weight_per_lane>>::run;
    slot[weight_by_table] = walk<sums_of_powers<T, C, R, weight_by_table>>::run;
}

template <class T>
data_kernels make_data_kernels() {
    data_kernels k{};
    enter<T, 1, 0>(k.central[1]);
    enter<T, 2, 0>(k.central[2]);
    enter<T, 3, 0>(k.central[3]);
    enter<T, 4, 0>(k.central[4]);
    enter<T, 0, 1>(k.raw[1]);
    enter<T, 0, 2>(k.raw[2]);
    enter<T, 0, 3>(k.raw[3]);
    enter<T, 0, 4>(k.raw[4]);
    enter<T, 1, 2>(k.mean_beside_raw[2]);
    enter<T, 1, 3>(k.mean_beside_raw[3]);
    enter<T, 1, 4>(k.mean_beside_raw[4]);
    k.extremes = walk<extremes_of<T>>::run;
    return k;
}

} // namespace HWY_NAMESPACE
} // namespace tsb
HWY_AFTER_NAMESPACE();

#endif
