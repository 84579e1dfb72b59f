// One checked compute call, free of task slots and integer widths.
#ifndef TSB_SRC_PROBLEM_HPP
#define TSB_SRC_PROBLEM_HPP

#include "request.hpp"

#include <array>
#include <cstdint>

namespace tsb {

/// \brief The results, in the order of their slots in a task.
enum class result : int {
    mean,
    raw2,
    raw3,
    raw4,
    central2,
    central3,
    central4,
    sum,
    raw_sum2,
    raw_sum3,
    raw_sum4,
    central_sum2,
    central_sum3,
    central_sum4,
    kurtosis,
    skewness,
    variation,
    minimum,
    maximum
};
inline constexpr int n_results = 19;

/// \brief The dimension mask, of either integer width, or none.
struct dimension_mask {
    const void* entries = nullptr;
    bool wide = true; ///< 64-bit entries

    bool includes(std::int64_t dim) const {
        if (!entries) {
            return true;
        }
        return wide ? static_cast<const std::int64_t*>(entries)[dim] != 0
                    : static_cast<const std::int32_t*>(entries)[dim] != 0;
    }
};

struct problem {
    std::int64_t n_dims;
    std::int64_t n_observations;
    bool by_dimension;
    bool is_float;
    const void* observations;
    const void* weights; ///< may be null
    dimension_mask mask;
    const void* user_mean;                ///< where request::about is set
    std::array<void*, n_results> outputs; ///< of the element type; null where not wanted
    request wanted;

    std::int64_t element_size() const { return is_float ? 4 : 8; }
};

/// \brief Computes into the outputs. \return false, with nothing written, if there is no memory for the
/// scratch.
bool solve(const problem&);

} // namespace tsb

#endif
