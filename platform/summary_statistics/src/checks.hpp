#ifndef TSB_SRC_CHECKS_HPP
#define TSB_SRC_CHECKS_HPP

#include "problem.hpp"
#include "task.hpp"

#include <cstdint>

namespace tsb {

/// \brief Status of what a task says about its data: counts, storage code, matrix.
std::int32_t check_data(const task_record&);

/// \brief Checks all that a compute call needs and fills `p`. \return the first status that applies.
std::int32_t make_problem(const task_record&, std::uint64_t estimates, std::int32_t method, problem& p);

} // namespace tsb

#endif
