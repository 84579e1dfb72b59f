// The data of all programs of the comparison: a value is a function of its index alone.
#ifndef BENCHMARKS_PEERS_SAMPLES_HPP
#define BENCHMARKS_PEERS_SAMPLES_HPP

#include <cstddef>
#include <cstdint>

namespace peers {

/// \brief 5 plus an exponential variable of mean 1: skewness 2, excess kurtosis 6, never near zero.
double exponential_sample(std::uint64_t i);

/// \brief Standard normal.
double normal_sample(std::uint64_t i);

/// \brief Exponential samples 0, 1, 2, ..., written by all threads.
template <class T>
void fill(T* data, std::size_t count);

} // namespace peers

#endif
