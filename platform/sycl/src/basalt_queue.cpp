#include "basalt_driver.hpp"

#include "command.hpp"
#include "host_threads.hpp"

#include <sycl/detail/kernel.hpp>

#include <algorithm>
#include <string>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#endif

namespace sycl::detail {

namespace {

thread_local void* local_base = nullptr;

/// What the driver hands back for every instance of a kernel. Lives in the command.
struct launch_record {
    kernel_launch what;

    void* make_instance(void* local_memory) const {
        guard_gaps(local_memory);
        local_base = local_memory;
        struct reset {
            ~reset() { local_base = nullptr; }
        } const at_end;
        return what.kernel->traits().make_instance(what.kernel->kernel());
    }

    /// The address sanitizer sees an overrun from one local array towards the next.
    void guard_gaps([[maybe_unused]] void* local_memory) const {
#ifdef __SANITIZE_ADDRESS__
        for (const auto& [offset, bytes] : what.local_gaps) {
            ASAN_POISON_MEMORY_REGION(static_cast<std::byte*>(local_memory) + offset, bytes);
        }
#endif
    }
};

/// Without its words if there is no memory for them: this runs on a thread of the driver, which nothing may leave.
std::exception_ptr failure_of(const char* message) noexcept {
    try {
        return std::make_exception_ptr(exception(errc::kernel, message));
    } catch (...) {
        return std::current_exception();
    }
}

void end_command(void* user, bs_result_t status, const char* message) {
    const runtime_thread_scope scope;
    const std::unique_ptr<std::shared_ptr<command>> done(static_cast<std::shared_ptr<command>*>(user));
    const bool failed = status != BS_SUCCESS;
    (*done)->finish(failed ? failure_of(message) : nullptr);
}

} // namespace

void* local_memory() noexcept {
    return local_base;
}

namespace basalt {

queue::~queue() {
    if (!owned_) {
        return;
    }
    if (const auto* const command_queue = std::get_if<_bs_command_queue_handle_t*>(&native_)) {
        bs_command_queue_destroy(*command_queue);
    } else {
        bs_command_list_destroy(std::get<_bs_command_list_handle_t*>(native_));
    }
}

void queue::submit(bs_command_t what, std::shared_ptr<command> done) {
    auto user = std::make_unique<std::shared_ptr<command>>(std::move(done));
    what.callback = &end_command;
    what.user = user.get();
    const auto* const command_queue = std::get_if<_bs_command_queue_handle_t*>(&native_);
    check(command_queue != nullptr
              ? bs_command_queue_submit(*command_queue, &what)
              : bs_command_list_append(std::get<_bs_command_list_handle_t*>(native_), &what),
          "a command for the software GPU");
    static_cast<void>(user.release()); // to end_command()
}

void queue::launch(const kernel_launch& what, std::shared_ptr<command> done) {
    const auto record = std::make_shared<launch_record>(launch_record{what});
    done->keep(record);
    const auto& traits = what.kernel->traits();
    bs_kernel_t kernel{};
    kernel.name = traits.name;
    kernel.run_item = traits.run_item;
    kernel.make_instance = [](void* argument, void* local) {
        return static_cast<launch_record*>(argument)->make_instance(local);
    };
    kernel.drop_instance = traits.drop_instance;
    kernel.argument = record.get();
    kernel.n_groups = what.n_groups;
    kernel.local_size = what.local_size;
    kernel.local_memory_bytes = what.local_memory_bytes;
    bs_command_t native{};
    native.kernel = &kernel;
    submit(native, std::move(done));
}

void queue::copy(const memory_copy& what, std::shared_ptr<command> done) {
    bs_command_t native{};
    native.copy = {what.target, what.source, what.bytes};
    submit(native, std::move(done));
}

void queue::fill(const memory_fill& what, std::shared_ptr<command> done) {
    bs_command_t native{};
    native.fill.target = what.target;
    native.fill.pattern_bytes = what.pattern.size();
    native.fill.count = what.count;
    if (what.pattern.size() > sizeof native.fill.pattern) {
        throw exception(errc::invalid, "a fill pattern of " + std::to_string(what.pattern.size()) +
                                           " bytes is above the limit of 16");
    }
    std::copy(what.pattern.begin(), what.pattern.end(), reinterpret_cast<std::byte*>(native.fill.pattern));
    submit(native, std::move(done));
}

} // namespace basalt
} // namespace sycl::detail
