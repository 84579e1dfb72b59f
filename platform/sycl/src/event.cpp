#include "command.hpp"
#include "queue_impl.hpp"

#include <sycl/event.hpp>

#include <unordered_set>

namespace sycl {

backend event::get_backend() const noexcept {
    return impl_ == nullptr ? backend::host : impl_->get_backend();
}

void event::wait() {
    if (impl_ != nullptr) {
        impl_->wait();
    }
}

void event::wait(const std::vector<event>& events) {
    for (event each : events) {
        each.wait();
    }
}

void event::wait_and_throw() {
    wait();
    if (const auto queue = impl_ == nullptr ? nullptr : impl_->queue()) {
        queue->throw_asynchronous();
    }
}

void event::wait_and_throw(const std::vector<event>& events) {
    wait(events);
    std::unordered_set<std::shared_ptr<detail::queue_impl>> queues;
    for (const auto& each : events) {
        const auto queue = each.impl_ == nullptr ? nullptr : each.impl_->queue();
        if (queue != nullptr && queues.insert(queue).second) {
            queue->throw_asynchronous();
        }
    }
}

std::vector<event> event::get_wait_list() {
    std::vector<event> result;
    if (impl_ != nullptr) {
        for (auto& each : impl_->waiting_for()) {
            result.emplace_back(std::move(each));
        }
    }
    return result;
}

template <>
SYCL_EXPORT info::event_command_status event::get_info<info::event::command_execution_status>() const {
    return impl_ == nullptr ? info::event_command_status::complete : impl_->status();
}

} // namespace sycl
