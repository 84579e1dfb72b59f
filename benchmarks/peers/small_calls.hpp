// What a call costs where there is little to compute.
#ifndef BENCHMARKS_PEERS_SMALL_CALLS_HPP
#define BENCHMARKS_PEERS_SMALL_CALLS_HPP

#include <nlohmann/json_fwd.hpp>
#include <sycl/sycl.hpp>

namespace peers {

/// \brief Prints, and returns, microseconds from the call to a complete result, for all sides.
nlohmann::json small_calls(const sycl::queue& queue);

} // namespace peers

#endif
