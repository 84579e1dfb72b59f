#pragma once

#include "opencl_driver.hpp"

#include <cstdint>
#include <memory>
#include <vector>

namespace sycl::detail::opencl {

/// An OpenCL event, either of a command that a driver runs, or one that the runtime ends itself.
class event final : public backend_event {
public:
    event(event_reference native, cl_context domain, bool ended_by_us)
        : native_(std::move(native)), domain_(domain), ended_by_us_(ended_by_us) {}

    cl_event native() const { return native_.get(); }
    /// For an event that was made before the driver's.
    void set_native(event_reference native) { native_ = std::move(native); }
    const void* domain() const override { return domain_; }
    void end(bool success) override;

private:
    event_reference native_;
    cl_context domain_;
    bool ended_by_us_;
};

/// A queue of the driver. Commands are handed over when they are submitted, with the events they wait for.
class queue final : public native_queue {
public:
    queue(context& owner, std::shared_ptr<device_impl> target, queue_reference native);
    ~queue() override;

    cl_command_queue native() const { return native_.get(); }

    const void* event_domain() const override { return context_.native(); }
    std::shared_ptr<backend_event> make_event() override;
    void check_launch(const kernel_launch& what) override;
    void launch(const kernel_launch& what, std::shared_ptr<command> done) override;
    void copy(const memory_copy& what, std::shared_ptr<command> done) override;
    void fill(const memory_fill& what, std::shared_ptr<command> done) override;

private:
    const device& target() const { return static_cast<const device&>(*target_); }
    void set_arguments(const built_kernel& built, const kernel_launch& what, const kernel_image& image);

    context& context_;
    std::shared_ptr<device_impl> target_;
    queue_reference native_;
};

/// What ends a command when the driver has run it. Made before the command is enqueued: afterwards nothing may fail
/// that would end it, and let go of its memory, while it runs.
class completion {
public:
    completion(std::shared_ptr<command> done, cl_context context);
    /// \p native, taken over, is the event of the enqueued command.
    void follow(cl_event native);

private:
    std::shared_ptr<command> done_;
    std::shared_ptr<event> event_;
    std::uintptr_t number_;
};

/// The events that a command waits for, as the driver takes them.
class wait_list {
public:
    explicit wait_list(const command& of);
    cl_uint size() const { return static_cast<cl_uint>(events_.size()); }
    const cl_event* data() const { return events_.empty() ? nullptr : events_.data(); }

private:
    std::vector<cl_event> events_;
};

} // namespace sycl::detail::opencl
