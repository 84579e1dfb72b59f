// Our side of the comparison.
#ifndef BENCHMARKS_PEERS_OURS_HPP
#define BENCHMARKS_PEERS_OURS_HPP

#include "matrix.hpp"

#include <sycl/sycl.hpp>

namespace peers {

/// \brief The public estimate in unified shared memory, up to the completion of its event.
template <class T>
job ours_usm(sycl::queue queue, estimate e, const matrix<T>& m, double* out);

/// \brief The public estimate with buffers over the same memory, up to the host's access to the result.
template <class T>
job ours_buffer(sycl::queue queue, estimate e, const matrix<T>& m, double* out);

/// \brief The CPU statistics component behind the library, called directly: new task, edit, compute, delete.
template <class T>
job component(estimate e, const matrix<T>& m, double* out);

} // namespace peers

#endif
