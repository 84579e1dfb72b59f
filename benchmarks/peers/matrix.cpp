#include "matrix.hpp"

namespace peers {

const char* name_of(estimate e) {
    switch (e) {
    case estimate::kurtosis:
        return "kurtosis";
    case estimate::skewness:
        return "skewness";
    case estimate::variation:
        return "variation";
    case estimate::mean:
        return "mean";
    case estimate::central_sum:
        return "central_sum";
    case estimate::central_moment:
        return "central_moment";
    case estimate::raw_sum:
        return "raw_sum";
    case estimate::raw_moment:
        return "raw_moment";
    case estimate::min_max:
        return "min_max";
    }
    return "unknown";
}

std::int64_t outputs_of(estimate e) {
    switch (e) {
    case estimate::central_sum:
    case estimate::central_moment:
        return 3;
    case estimate::raw_sum:
    case estimate::raw_moment:
        return 4;
    case estimate::min_max:
        return 2;
    default:
        return 1;
    }
}

} // namespace peers
