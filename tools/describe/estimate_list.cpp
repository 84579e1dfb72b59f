#include "estimate_list.hpp"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "errors.hpp"
#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

const estimate& find_estimate(std::string_view name) {
    const auto* found = std::find_if(all_estimates.begin(), all_estimates.end(),
                                     [&](const estimate& e) { return e.name == name; });
    if (found == all_estimates.end()) {
        std::vector<std::string_view> names;
        std::transform(all_estimates.begin(), all_estimates.end(), std::back_inserter(names),
                       [](const estimate& e) { return e.name; });
        throw input_error(fmt::format("--estimates: {} is no estimate; there are {}", in_quotes(name),
                                      fmt::join(names, " ")));
    }
    return *found;
}

/// min_max exists for both of its outputs together; one of them alone has a call of its own.
void narrow_extremes(planned_call& planned) {
    if (planned.outputs[1] == nullptr) {
        planned.call = call_name::min;
    } else if (planned.outputs[0] == nullptr) {
        planned.call = call_name::max;
        std::swap(planned.outputs[0], planned.outputs[1]);
    }
}

} // namespace

estimate_selection select_estimates(const std::vector<std::string>& names) {
    if (names.empty()) {
        throw input_error("--estimates: the list is empty");
    }
    estimate_selection selection;
    std::transform(names.begin(), names.end(), std::back_inserter(selection),
                   [](const std::string& name) { return &find_estimate(name); });
    std::sort(selection.begin(), selection.end());
    selection.erase(std::unique(selection.begin(), selection.end()), selection.end());
    return selection;
}

estimate_selection default_estimates(bool standard_method, bool cpu_path) {
    estimate_selection selection;
    for (const estimate& e : all_estimates) {
        const bool computable = !standard_method || e.standard == standard_support::everywhere ||
                                (e.standard == standard_support::cpu_only && cpu_path);
        if (computable) {
            selection.push_back(&e);
        }
    }
    return selection;
}

void check_selection(const estimate_selection& selection, bool standard_method, bool mean_given) {
    for (const estimate* e : selection) {
        if (standard_method && e->standard == standard_support::nowhere) {
            throw input_error(fmt::format("--estimates: '{}' does not exist for --method standard", e->name));
        }
    }
    if (mean_given &&
        std::none_of(selection.begin(), selection.end(), [](auto* e) { return e->takes_mean; })) {
        throw input_error("--mean: none of the estimates asked for takes the caller's mean");
    }
}

std::vector<planned_call> plan_calls(const estimate_selection& selection, bool mean_given) {
    std::vector<planned_call> calls;
    for (const estimate* e : selection) {
        auto found = std::find_if(calls.begin(), calls.end(), [&](auto& c) { return c.call == e->call; });
        if (found == calls.end()) {
            found = calls.insert(calls.end(), {e->call, mean_given && e->takes_mean, {}});
        }
        found->outputs[e->output] = e;
    }
    for (planned_call& planned : calls) {
        if (planned.call == call_name::min_max) {
            narrow_extremes(planned);
        }
    }
    return calls;
}

} // namespace aurelo::qtx::describe
