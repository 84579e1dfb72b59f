#include "driver_watch.hpp"

#include <atomic>
#include <cerrno>
#include <mutex>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>

namespace {

std::mutex lock;
std::vector<std::string> launched;
std::string delayed;
bs_event_handle_t delayed_until = nullptr;
std::atomic<int> tried_allocations = 0;
std::atomic<bool> no_threads = false;
std::atomic<void*> refused_user = nullptr;
std::atomic<void*> watched_user = nullptr;
cl_event event_of_callback = nullptr;

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The executable exports these, so that the libraries find them first.
extern "C" {
#pragma GCC visibility push(default)

bs_result_t bs_command_queue_submit(bs_command_queue_handle_t queue, const bs_command_t* command) {
    static const auto real = next<decltype(&bs_command_queue_submit)>("bs_command_queue_submit");
    bs_command_t changed = *command;
    std::vector<bs_event_handle_t> waits(command->waits, command->waits + command->n_waits);
    if (command->kernel != nullptr) {
        const std::lock_guard guard(lock);
        launched.emplace_back(command->kernel->name);
        if (delayed_until != nullptr && launched.back().find(delayed) != std::string::npos) {
            waits.push_back(delayed_until);
            changed.waits = waits.data();
            ++changed.n_waits;
        }
    }
    return real(queue, &changed);
}

bs_result_t bs_mem_alloc(bs_context_handle_t context, bs_device_handle_t device, bs_memory_type_t type,
                         size_t bytes, size_t alignment, void** memory) {
    static const auto real = next<decltype(&bs_mem_alloc)>("bs_mem_alloc");
    ++tried_allocations;
    return real(context, device, type, bytes, alignment, memory);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    static const auto real = next<decltype(&pthread_create)>("pthread_create");
    return no_threads ? EAGAIN : real(thread, attributes, body, argument);
}

cl_int clSetEventCallback(cl_event event, cl_int type, void(CL_CALLBACK* callback)(cl_event, cl_int, void*),
                          void* user) {
    static const auto real = next<decltype(&clSetEventCallback)>("clSetEventCallback");
    if (user != nullptr && user == refused_user) {
        return CL_OUT_OF_RESOURCES;
    }
    if (event != nullptr && user != nullptr && user == watched_user) {
        clRetainEvent(event);
        const std::lock_guard guard(lock);
        event_of_callback = event;
    }
    return real(event, type, callback, user);
}

#pragma GCC visibility pop
}

namespace test {

std::vector<std::string> take_launched_kernels() {
    const std::lock_guard guard(lock);
    return std::exchange(launched, {});
}

void delay_kernels(const std::string& part, bs_event_handle_t gate) {
    const std::lock_guard guard(lock);
    delayed = part;
    delayed_until = gate;
}

int take_tried_allocations() {
    return tried_allocations.exchange(0);
}

void refuse_threads(bool refused) {
    no_threads = refused;
}

void refuse_callbacks_for(void* user) {
    refused_user = user;
}

void watch_callback_for(void* user) {
    watched_user = user;
}

cl_event take_event_of_callback() {
    const std::lock_guard guard(lock);
    return std::exchange(event_of_callback, nullptr);
}

} // namespace test
