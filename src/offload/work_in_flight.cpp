#include "work_in_flight.hpp"

#include "exception_report.hpp"

namespace aurelo::qtx::stats::detail::openmp {

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
    sycl::event::wait(events_);
    events_.clear();
}

sycl::event work_in_flight::joined() {
    if (events_.empty()) {
        return sycl::event();
    }
    if (events_.size() > 1 && !queue_.is_in_order()) {
        const sycl::event all = queue_.submit([&](sycl::handler& handler) {
            handler.depends_on(events_);
            handler.host_task([] {});
        });
        events_.push_back(all);
    }
    return events_.back();
}

} // namespace aurelo::qtx::stats::detail::openmp
