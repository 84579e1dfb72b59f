#include "launch.hpp"

#include <stats/exception.hpp>

#include <string>
#include <utility>

namespace aurelo::qtx::stats::detail::gpu {

namespace {

void check_count(const char* estimate, const char* name, std::int64_t count) {
    if (count < 1) {
        throw invalid_argument("stats", estimate,
                               std::string(name) + " is " + std::to_string(count) + ", must be at least 1");
    }
}

thread_local pass_events* innermost = nullptr;

} // namespace

pass_events::pass_events() : outer_(std::exchange(innermost, this)) {}

pass_events::~pass_events() {
    innermost = outer_;
}

pass_events* pass_events::current() {
    return innermost;
}

launch_plan plan_for(const sycl::queue& queue, std::int64_t n_dims, std::int64_t n_observations,
                     const char* estimate) {
    check_count(estimate, "n_dims", n_dims);
    check_count(estimate, "n_observations", n_observations);
    const sycl::device device = queue.get_device();
    const std::size_t wg = device.get_info<sycl::info::device::max_work_group_size>();
    if (wg < 2 && n_observations > 1) {
        throw invalid_argument("stats", estimate,
                               "n_observations is " + std::to_string(n_observations) + ", must be 1 on " +
                                   device.get_info<sycl::info::device::name>() +
                                   ", whose work-group limit is " + std::to_string(wg));
    }
    return launch_plan(static_cast<std::uint64_t>(n_observations), wg);
}

} // namespace aurelo::qtx::stats::detail::gpu
