/**
 * \file launch_plan.hpp
 * \brief Which kernels a reduction runs, as a value.
 */
#pragma once

#include <cstdint>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief One launch of `n_groups * local_size` work-items. */
struct launch_pass {
    std::uint64_t local_size; /**< work-items of a group, each of which handles one element of a row */
    std::uint64_t n_groups;   /**< results that the pass leaves per dimension */
    std::uint64_t tail;       /**< elements of the last group, 0 if it is full */
    std::uint64_t
        stride; /**< elements per dimension that the pass reads, the distance of rows in partial results */
    bool last;  /**< the pass finishes the estimate */

    friend bool operator==(const launch_pass&, const launch_pass&) = default;
};

/**
 * \brief The passes of a reduction of `n_observations` elements by groups of at most `wg` work-items.
 *
 * A tree with a fan-in of `wg`: the first pass reads the observations, every other one the results of the
 * pass before it. A plan of one pass is a single step. It depends on the two numbers and on nothing else.
 */
class launch_plan {
public:
    /** \throws std::invalid_argument if a number is 0, or if groups of one would have to shorten a row */
    launch_plan(std::uint64_t n_observations, std::uint64_t wg);

    const std::vector<launch_pass>& passes() const { return passes_; }
    bool is_single_step() const { return passes_.size() == 1; }

    /** \brief Results per dimension of the first pass, the most that scratch has to hold. */
    std::uint64_t first_row() const { return passes_.front().n_groups; }
    /** \brief Results per dimension of the second pass if it is an intermediate one, else 0. */
    std::uint64_t second_row() const;

private:
    std::vector<launch_pass> passes_;
};

} // namespace aurelo::qtx::stats::detail::gpu
