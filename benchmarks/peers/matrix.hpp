// What every side of the comparison is asked for, and of which data.
#ifndef BENCHMARKS_PEERS_MATRIX_HPP
#define BENCHMARKS_PEERS_MATRIX_HPP

#include <cstdint>
#include <functional>

namespace peers {

enum class estimate {
    kurtosis,
    skewness,
    variation,
    mean,
    central_sum,
    central_moment,
    raw_sum,
    raw_moment,
    min_max
};

/// \brief What is timed: the others are the same work.
inline constexpr estimate timed_estimates[] = {
    estimate::kurtosis,       estimate::skewness, estimate::variation,  estimate::mean,
    estimate::central_moment, estimate::raw_sum,  estimate::raw_moment, estimate::min_max};

const char* name_of(estimate e);

/// \brief Output arrays of an estimate, each of one element per dimension.
std::int64_t outputs_of(estimate e);

/// \brief A matrix in memory that any device of the CPU may read; it owns nothing.
template <class T>
struct matrix {
    T* data;
    T* weights; ///< one per observation, or null
    std::int64_t dims;
    std::int64_t observations;
    bool by_dimension;

    const T& at(std::int64_t dim, std::int64_t observation) const {
        return by_dimension ? data[dim * observations + observation] : data[observation * dims + dim];
    }
};

/// \brief Computes one estimate of one matrix and stores `outputs_of(e) * dims` doubles, output by output.
using job = std::function<void()>;

} // namespace peers

#endif
