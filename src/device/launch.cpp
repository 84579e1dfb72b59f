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

/** \brief Kernels rely on ids that fit a signed 32-bit integer. No later pass is as large as the first. */
void check_first_pass(const launch_pass& first) {
    constexpr std::uint64_t limit = std::uint64_t{1} << 31;
    // No overflow: less than twice the observations, which are a positive signed number.
    const std::uint64_t n_items = first.n_groups * first.local_size;
    if (n_items >= limit) {
        throw sycl::exception(sycl::make_error_code(sycl::errc::nd_range),
                              "a launch of " + std::to_string(n_items) + " work-items reaches the limit of " +
                                  std::to_string(limit) + ": n_observations is " +
                                  std::to_string(first.stride));
    }
}

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
    launch_plan plan(static_cast<std::uint64_t>(n_observations), wg);
    check_first_pass(plan.passes().front());
    return plan;
}

} // namespace aurelo::qtx::stats::detail::gpu
