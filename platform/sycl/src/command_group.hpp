#pragma once

#include "command.hpp"
#include "queue_impl.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace sycl::detail {

/// What a command group function has told of its command so far.
class command_group {
public:
    explicit command_group(std::shared_ptr<queue_impl> queue);

    /// Runs the user's function; a group without an action becomes a command without work.
    void describe(const std::function<void(handler&)>& group);

    const std::shared_ptr<class command>& command() const { return command_; }
    const std::vector<std::shared_ptr<class command>>& dependencies() const { return dependencies_; }
    const std::vector<requirement>& requirements() const { return requirements_; }
    memory_space space() const;

    void depend_on(const event& dependency);
    /// Adds a requirement, or widens the one for the same buffer, and returns the buffer's address.
    void* require(const buffer_binding& binding);
    /// The address of a buffer that has been required.
    void* address(const buffer_binding& binding);
    std::size_t reserve_local(std::size_t bytes, std::size_t alignment);

    void set_kernel(const nd_range<1>& space, std::unique_ptr<kernel_box> kernel);
    void set_host_task(std::unique_ptr<host_task_box> body);
    void set_copy(const memory_copy& what);
    void set_fill(const memory_fill& what);

    /// The group whose kernel or host task the calling thread is copying; null outside of that.
    static command_group*& current();

private:
    void refuse_second_action() const;
    void set_action(command::action what, bool native = false);
    /// An action that the queue's back end carries out, as `what(native queue, command)`.
    template <typename Action>
    void set_native_action(Action what) {
        set_action([queue = queue_.get(), what = std::move(what)](
                       const std::shared_ptr<class command>& self) { what(queue->native(), self); },
                   true);
    }
    void check_launch(const nd_range<1>& space, const kernel_traits& kernel) const;

    std::shared_ptr<queue_impl> queue_;
    std::shared_ptr<class command> command_;
    std::vector<std::shared_ptr<class command>> dependencies_;
    std::vector<requirement> requirements_;
    std::size_t local_bytes_ = 0;
    std::vector<std::pair<std::size_t, std::size_t>> local_gaps_;
};

} // namespace sycl::detail
