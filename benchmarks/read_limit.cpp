#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "read_limit.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "read_limit.hpp"

#include <omp.h>

HWY_BEFORE_NAMESPACE();
namespace bench {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

double read_streams(const double* data, std::size_t count) {
    const hn::ScalableTag<double> d;
    const std::size_t lanes = hn::Lanes(d);
    const std::size_t stream = count / 4 / 16 * 16;
    auto a = hn::Zero(d), b = a, c = a, e = a;
    for (std::size_t i = 0; i < stream; i += 2 * lanes) {
        a = hn::Add(a, hn::Add(hn::LoadU(d, data + i), hn::LoadU(d, data + i + lanes)));
        b = hn::Add(b, hn::Add(hn::LoadU(d, data + stream + i), hn::LoadU(d, data + stream + i + lanes)));
        c = hn::Add(
            c, hn::Add(hn::LoadU(d, data + 2 * stream + i), hn::LoadU(d, data + 2 * stream + i + lanes)));
        e = hn::Add(
            e, hn::Add(hn::LoadU(d, data + 3 * stream + i), hn::LoadU(d, data + 3 * stream + i + lanes)));
    }
    return hn::GetLane(hn::SumOfLanes(d, hn::Add(hn::Add(a, b), hn::Add(c, e))));
}

} // namespace HWY_NAMESPACE
} // namespace bench
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace bench {
HWY_EXPORT(read_streams);

double read_memory(const void* data, std::size_t bytes) {
    const double* elements = static_cast<const double*>(data);
    const std::size_t count = bytes / sizeof(double);
    double sum = 0;
#pragma omp parallel reduction(+ : sum)
    {
        const auto threads = static_cast<std::size_t>(omp_get_num_threads());
        const auto me = static_cast<std::size_t>(omp_get_thread_num());
        // Whole cache lines per thread and stream: a read that is split between lines is not the fastest one.
        const std::size_t share = count / threads / 64 * 64;
        sum += HWY_DYNAMIC_DISPATCH(read_streams)(elements + share * me, share);
    }
    return sum;
}

} // namespace bench
#endif
