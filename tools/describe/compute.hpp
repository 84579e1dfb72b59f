#pragma once

#include <vector>

#include <stats/partial.hpp>

#include "compute_queue.hpp"
#include "estimate_list.hpp"
#include "problem.hpp"
#include "report.hpp"

namespace aurelo::qtx::describe {

/// What to compute, and how.
struct computation {
    std::vector<planned_call> calls;
    bool standard_method = false;
};

/// Calls the library in its buffer form; the results stand in the order in which estimates are shown.
///
/// Errors of the library and of the runtime are thrown as they are, asynchronous ones included.
template <typename T>
std::vector<computed<T>> compute_with_buffers(compute_queue& queue, const problem<T>& data,
                                              const computation& what);

/// The same in the form with unified shared memory.
template <typename T>
std::vector<computed<T>> compute_with_usm(compute_queue& queue, const problem<T>& data,
                                          const computation& what);

/// Statistics of the dimensions of \p data that merge with those of other rows, in the form with buffers.
///
/// A masked dimension's is the identity. Errors as above.
template <typename T>
std::vector<stats::partial> partials_with_buffers(compute_queue& queue, const problem<T>& data);

/// The same in the form with unified shared memory.
template <typename T>
std::vector<stats::partial> partials_with_usm(compute_queue& queue, const problem<T>& data);

} // namespace aurelo::qtx::describe
