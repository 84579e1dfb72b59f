// The yardstick of every speed claim: how fast this machine reads the same memory when it does nothing else
// with it.
#ifndef BENCHMARKS_READ_LIMIT_HPP
#define BENCHMARKS_READ_LIMIT_HPP

#include <cstddef>

namespace bench {

/// \brief Reads memory with the widest vectors of the processor, four far-apart streams per thread of an
/// OpenMP team. \return a sum over the data, which only keeps the reads from being dropped.
double read_memory(const void* data, std::size_t bytes);

} // namespace bench

#endif
