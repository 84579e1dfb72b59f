#include "samples.hpp"

#include <cmath>

namespace peers {
namespace {

/// A counter turned into 64 well mixed bits (the finaliser of a split generator).
std::uint64_t mix(std::uint64_t z) {
    z += UINT64_C(0x9E3779B97F4A7C15);
    z = (z ^ (z >> 30)) * UINT64_C(0xBF58476D1CE4E5B9);
    z = (z ^ (z >> 27)) * UINT64_C(0x94D049BB133111EB);
    return z ^ (z >> 31);
}

/// Above 0 and below 1.
double uniform(std::uint64_t i) {
    return (static_cast<double>(mix(i) >> 12) + 0.5) * 0x1p-52;
}

} // namespace

double exponential_sample(std::uint64_t i) {
    return 5 - std::log(uniform(i));
}

double normal_sample(std::uint64_t i) {
    constexpr double two_pi = 6.283185307179586;
    return std::sqrt(-2 * std::log(uniform(2 * i))) * std::cos(two_pi * uniform(2 * i + 1));
}

template <class T>
void fill(T* data, std::size_t count) {
#pragma omp parallel for schedule(static)
    for (std::size_t i = 0; i < count; ++i) {
        data[i] = static_cast<T>(exponential_sample(i));
    }
}

template void fill(float*, std::size_t);
template void fill(double*, std::size_t);

} // namespace peers
