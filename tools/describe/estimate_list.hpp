#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace aurelo::qtx::describe {

/// The public calls of the library.
enum class call_name {
    min,
    max,
    min_max,
    mean,
    raw_sum,
    raw_moment,
    central_sum,
    central_moment,
    variation,
    skewness,
    kurtosis
};

/// Whether \p call is one of min, max, min_max, which take no weights and exist for the fast method only.
constexpr bool is_extreme(call_name call) {
    return call == call_name::min || call == call_name::max || call == call_name::min_max;
}

/// Where the standard method can compute an estimate.
enum class standard_support { nowhere, cpu_only, everywhere };

/// One estimate that a user can ask for.
struct estimate {
    std::string_view name;
    call_name call;     ///< the public call that yields it
    std::size_t output; ///< which output of the call it is
    bool takes_mean;    ///< the call has a form with the caller's mean
    standard_support standard;
};

/// All estimates, in the order in which they are shown.
inline constexpr std::array<estimate, 19> all_estimates{{
    {"min", call_name::min_max, 0, false, standard_support::nowhere},
    {"max", call_name::min_max, 1, false, standard_support::nowhere},
    {"mean", call_name::mean, 0, false, standard_support::everywhere},
    {"sum", call_name::raw_sum, 0, false, standard_support::everywhere},
    {"raw_sum2", call_name::raw_sum, 1, false, standard_support::everywhere},
    {"raw_sum3", call_name::raw_sum, 2, false, standard_support::everywhere},
    {"raw_sum4", call_name::raw_sum, 3, false, standard_support::everywhere},
    {"raw_moment2", call_name::raw_moment, 1, false, standard_support::everywhere},
    {"raw_moment3", call_name::raw_moment, 2, false, standard_support::everywhere},
    {"raw_moment4", call_name::raw_moment, 3, false, standard_support::everywhere},
    {"central_sum2", call_name::central_sum, 0, true, standard_support::cpu_only},
    {"central_sum3", call_name::central_sum, 1, true, standard_support::cpu_only},
    {"central_sum4", call_name::central_sum, 2, true, standard_support::cpu_only},
    {"central_moment2", call_name::central_moment, 0, true, standard_support::cpu_only},
    {"central_moment3", call_name::central_moment, 1, true, standard_support::cpu_only},
    {"central_moment4", call_name::central_moment, 2, true, standard_support::cpu_only},
    {"variation", call_name::variation, 0, true, standard_support::everywhere},
    {"skewness", call_name::skewness, 0, true, standard_support::everywhere},
    {"kurtosis", call_name::kurtosis, 0, true, standard_support::everywhere},
}};

/// Estimates to compute, in the order of the list above.
using estimate_selection = std::vector<const estimate*>;

/// The estimates called \p names.
/// \throws input_error for a name that is none and for an empty list.
estimate_selection select_estimates(const std::vector<std::string>& names);

/// All estimates that a device of the CPU or of the GPU path can compute with the standard or the fast
/// method.
estimate_selection default_estimates(bool standard_method, bool cpu_path);

/// \throws input_error if an estimate of \p selection does not exist for the options.
void check_selection(const estimate_selection& selection, bool standard_method, bool mean_given);

/// One call to the library.
struct planned_call {
    call_name call;
    bool about_mean; ///< the form with the caller's mean
    /// The estimate that each output yields. Null: nobody asked for that output.
    std::array<const estimate*, 4> outputs{};

    /// Whether the call needs storage for output \p i: a call with several outputs always computes its first.
    bool needs(std::size_t i) const { return i == 0 || outputs[i] != nullptr; }
};

/// The fewest calls that yield \p selection.
std::vector<planned_call> plan_calls(const estimate_selection& selection, bool mean_given);

} // namespace aurelo::qtx::describe
