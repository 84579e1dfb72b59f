#include "work_in_flight.hpp"

#include "exception_report.hpp"

namespace aurelo::qtx::stats::detail::openmp {

namespace {

constexpr std::size_t most_events = 9 + 1; ///< the routines and the task that joins them

} // namespace

work_in_flight::work_in_flight(const sycl::queue& queue, work_outcome outcome)
    : queue_(queue), outcome_(std::move(outcome)) {
    events_.reserve(most_events);
}

work_in_flight::~work_in_flight() {
    for (auto& event : events_) {
        try {
            event.wait();
        } catch (...) {
            print_current_exception();
        }
    }
}

void work_in_flight::wait() {
    if (outcome_.needs_confirmation()) {
        joined();
    }
    for (auto& event : events_) {
        event.wait();
    }
    events_.clear();
    outcome_.require_success();
}

sycl::event work_in_flight::joined() {
    if (events_.empty()) {
        outcome_.confirmation()();
        return sycl::event();
    }
    if (outcome_.needs_confirmation() || events_.size() + passes_.list().size() > 1) {
        const sycl::event all = queue_.submit([&](sycl::handler& handler) {
            handler.depends_on(events_);
            handler.depends_on(passes_.list());
            handler.host_task(outcome_.confirmation());
        });
        events_.push_back(all);
    }
    return events_.back();
}

} // namespace aurelo::qtx::stats::detail::openmp
