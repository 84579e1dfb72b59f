#include "queue_impl.hpp"

#include <sycl/queue.hpp>

#include <utility>

namespace sycl {

namespace {

std::shared_ptr<detail::queue_impl> make_queue(const context& context, const device& device,
                                               const async_handler& handler,
                                               const property_list& properties) {
    const auto& owner = detail::impl_of<detail::context_impl>(context);
    const auto& target = detail::impl_of<detail::device_impl>(device);
    owner->require_member(*target);
    const bool in_order = properties.has_property<property::queue::in_order>();
    return std::make_shared<detail::queue_impl>(owner, target, handler, in_order,
                                                owner->make_queue(target, in_order));
}

} // namespace

queue::queue(const property_list& properties) : queue(device(), properties) {}
queue::queue(const async_handler& handler, const property_list& properties)
    : queue(device(), handler, properties) {}
queue::queue(const device& device, const property_list& properties)
    : queue(device, async_handler(), properties) {}
queue::queue(const device& device, const async_handler& handler, const property_list& properties)
    : queue(sycl::context(detail::impl_of<detail::device_impl>(device)->default_context()), device, handler,
            properties) {}
queue::queue(const context& context, const device& device, const property_list& properties)
    : queue(context, device, async_handler(), properties) {}
queue::queue(const context& context, const device& device, const async_handler& handler,
             const property_list& properties)
    : impl_(make_queue(context, device, handler, properties)) {}

device queue::choose(const context& context, const detail::device_rating& rating) {
    return detail::best_device(context.get_devices(), rating);
}

backend queue::get_backend() const noexcept {
    return impl_->device()->get_backend();
}
context queue::get_context() const {
    return context(impl_->context());
}
device queue::get_device() const {
    return device(impl_->device());
}
bool queue::is_in_order() const {
    return impl_->in_order();
}

event queue::submit_group(const std::function<void(handler&)>& group) {
    return event(impl_->submit(group));
}

void queue::wait() {
    impl_->wait();
}
void queue::wait_and_throw() {
    impl_->wait();
    impl_->throw_asynchronous();
}
void queue::throw_asynchronous() {
    impl_->throw_asynchronous();
}

event queue::memcpy(void* target, const void* source, std::size_t bytes,
                    const std::vector<event>& dependencies) {
    return submit([&](handler& group) {
        group.depends_on(dependencies);
        group.memcpy(target, source, bytes);
    });
}

event queue::memset(void* target, int value, std::size_t bytes, const std::vector<event>& dependencies) {
    return submit([&](handler& group) {
        group.depends_on(dependencies);
        group.memset(target, value, bytes);
    });
}

template <>
SYCL_EXPORT context queue::get_info<info::queue::context>() const {
    return get_context();
}
template <>
SYCL_EXPORT device queue::get_info<info::queue::device>() const {
    return get_device();
}

} // namespace sycl
