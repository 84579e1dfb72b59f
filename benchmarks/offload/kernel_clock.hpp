// When kernels run, seen between the SYCL runtime and the drivers: the executable's functions stand in front of theirs.
#ifndef BENCHMARKS_OFFLOAD_KERNEL_CLOCK_HPP
#define BENCHMARKS_OFFLOAD_KERNEL_CLOCK_HPP

namespace bench {

/// \brief Seconds during which at least one kernel ran since the last call; every kernel must have ended.
double take_kernel_seconds();

} // namespace bench

#endif
