#include "command.hpp"
#include "host_threads.hpp"
#include "opencl_queue.hpp"

#include <array>
#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_map>

namespace sycl::detail::opencl {

namespace {

/**
 * The commands that drivers work on, by the numbers that they hand back. A driver need not tell the end of a
 * command whose wait list has failed; the graph ends that one, and its entry here goes all the same.
 */
class commands_in_flight {
public:
    std::uintptr_t enter(std::shared_ptr<command> running) {
        const std::lock_guard guard(lock_);
        running_[++last_] = std::move(running);
        return last_;
    }
    std::shared_ptr<command> leave(std::uintptr_t number) {
        const std::lock_guard guard(lock_);
        const auto found = running_.extract(number);
        return found ? std::move(found.mapped()) : nullptr;
    }

private:
    std::mutex lock_;
    std::uintptr_t last_ = 0;
    std::unordered_map<std::uintptr_t, std::shared_ptr<command>> running_;
};

/// Lives to the end of the process, since drivers may call back until then.
commands_in_flight& in_flight() {
    static auto* const result = new commands_in_flight;
    return *result;
}

/// Without its words if there is no memory for them: this runs on a thread of the driver, which nothing may leave.
std::exception_ptr failure_of(cl_int status) noexcept {
    try {
        return std::make_exception_ptr(
            exception(errc::kernel, "the OpenCL device failed: " + status_name(status)));
    } catch (...) {
        return std::current_exception();
    }
}

/// How a command that is over ended; with success if the driver cannot say.
cl_int execution_status(cl_event native) {
    cl_int status = CL_COMPLETE;
    const cl_int asked =
        clGetEventInfo(native, CL_EVENT_COMMAND_EXECUTION_STATUS, sizeof status, &status, nullptr);
    return asked == CL_SUCCESS ? status : CL_COMPLETE;
}

void CL_CALLBACK end_command(cl_event native, cl_int told, void* number) {
    const runtime_thread_scope scope;
    // Some drivers tell the status that was asked for, whatever the command ended with.
    const cl_int status = told == CL_COMPLETE ? execution_status(native) : told;
    const auto done = in_flight().leave(reinterpret_cast<std::uintptr_t>(number));
    if (done == nullptr) {
        return;
    }
    if (status == CL_EXEC_STATUS_ERROR_FOR_EVENTS_IN_WAIT_LIST) {
        done->skipped_by_back_end(failure_of(status));
    } else {
        done->finish(status < 0 ? failure_of(status) : nullptr);
    }
}

/// Takes the entry of a command with it, whoever ends the command.
struct entry_guard {
    entry_guard() = default;
    ~entry_guard() { in_flight().leave(number); }
    entry_guard(const entry_guard&) = delete;
    entry_guard& operator=(const entry_guard&) = delete;
    std::uintptr_t number = 0; ///< none yet
};

} // namespace

void event::end(bool success) {
    if (ended_by_us_) {
        clSetUserEventStatus(native(), success ? CL_COMPLETE : CL_OUT_OF_RESOURCES);
    }
}

wait_list::wait_list(const command& of) {
    for (const auto& each : of.wait_list()) {
        events_.push_back(static_cast<const event&>(*each).native());
    }
}

std::shared_ptr<backend_event> queue::make_event() {
    cl_int status = CL_SUCCESS;
    event_reference made(clCreateUserEvent(context_.native(), &status));
    check(status, "no OpenCL event");
    return std::make_shared<event>(std::move(made), context_.native(), true);
}

completion::completion(std::shared_ptr<command> done, cl_context context)
    : done_(std::move(done)), event_(std::make_shared<event>(event_reference(), context, false)) {
    const auto entry = std::make_shared<entry_guard>();
    done_->keep(entry);
    entry->number = number_ = in_flight().enter(done_);
}

void completion::follow(cl_event native) {
    event_->set_native(event_reference(native));
    done_->set_native_event(event_);
    const cl_int status =
        clSetEventCallback(native, CL_COMPLETE, &end_command, reinterpret_cast<void*>(number_));
    if (status == CL_SUCCESS) {
        return;
    }
    // The driver has the command all the same, and will not tell its end: a thread has to wait for it.
    const auto wait = [event = event_, number = number_] {
        clWaitForEvents(1, std::array{event->native()}.data());
        end_command(event->native(), CL_COMPLETE, reinterpret_cast<void*>(number));
    };
    try {
        post_to_host_threads(wait);
    } catch (const std::exception&) {
        wait();
    }
}

} // namespace sycl::detail::opencl
