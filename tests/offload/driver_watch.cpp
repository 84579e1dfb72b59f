#include "driver_watch.hpp"

#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>

using test::watch;

test::driver_watch& test::watch() {
    static auto* const made = new driver_watch;
    return *made;
}

namespace {

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
        const std::lock_guard guard(watch().lock);
        watch().launched.emplace_back(command->kernel->name);
        if (watch().gate != nullptr && watch().launched.back().find(watch().delayed) != std::string::npos) {
            waits.push_back(watch().gate);
            changed.waits = waits.data();
            ++changed.n_waits;
        }
    }
    return real(queue, &changed);
}

bs_result_t bs_mem_alloc(bs_context_handle_t context, bs_device_handle_t device, bs_memory_type_t type,
                         size_t bytes, size_t alignment, void** memory) {
    static const auto real = next<decltype(&bs_mem_alloc)>("bs_mem_alloc");
    ++watch().tried_allocations;
    return real(context, device, type, bytes, alignment, memory);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    static const auto real = next<decltype(&pthread_create)>("pthread_create");
    return watch().no_threads ? EAGAIN : real(thread, attributes, body, argument);
}

cl_int clSetEventCallback(cl_event event, cl_int type, void(CL_CALLBACK* callback)(cl_event, cl_int, void*),
                          void* user) {
    static const auto real = next<decltype(&clSetEventCallback)>("clSetEventCallback");
    if (user != nullptr && user == watch().refused_user) {
        return CL_OUT_OF_RESOURCES;
    }
    if (event != nullptr && user != nullptr && user == watch().watched_user) {
        clRetainEvent(event);
        watch().kept_event = event;
    }
    return real(event, type, callback, user);
}

#pragma GCC visibility pop
}
