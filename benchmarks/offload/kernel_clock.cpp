#include "kernel_clock.hpp"

#include <CL/cl.h>
#include <basalt/basalt.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <dlfcn.h>

namespace {

using interval = std::pair<double, double>;

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// A launch on a software GPU: from the first instance that a thread makes to the last that one drops.
struct basalt_launch {
    bs_kernel_t real;
    std::mutex lock;
    int instances = 0;
    double begin = 0;
    double end = 0;
};

/// What stands in for the instance of a thread.
struct timed_instance {
    basalt_launch* launch;
    void* real;
};

std::mutex lock;
std::vector<std::unique_ptr<basalt_launch>> launches;
std::vector<cl_event> events;

void* make_instance(void* argument, void* local_memory) {
    auto* const launch = static_cast<basalt_launch*>(argument);
    {
        const std::lock_guard guard(launch->lock);
        if (launch->begin == 0) {
            launch->begin = now();
        }
    }
    return new timed_instance{launch, launch->real.make_instance(launch->real.argument, local_memory)};
}

void drop_instance(void* instance) {
    const std::unique_ptr<timed_instance> timed(static_cast<timed_instance*>(instance));
    timed->launch->real.drop_instance(timed->real);
    const std::lock_guard guard(timed->launch->lock);
    timed->launch->end = now();
}

void run_item(void* instance, const bs_work_item_t* item) {
    const auto* const timed = static_cast<timed_instance*>(instance);
    timed->launch->real.run_item(timed->real, item);
}

double profiled(cl_event event, cl_profiling_info what) {
    cl_ulong nanoseconds = 0;
    clGetEventProfilingInfo(event, what, sizeof nanoseconds, &nanoseconds, nullptr);
    return static_cast<double>(nanoseconds) * 1e-9;
}

double length_of_union(std::vector<interval> intervals) {
    std::sort(intervals.begin(), intervals.end());
    double length = 0;
    double covered_to = 0;
    for (const auto& [begin, end] : intervals) {
        if (end > covered_to) {
            length += end - std::max(begin, covered_to);
            covered_to = end;
        }
    }
    return length;
}

} // namespace

extern "C" {
#pragma GCC visibility push(default)

bs_result_t bs_command_queue_submit(bs_command_queue_handle_t queue, const bs_command_t* command) {
    static const auto real = next<decltype(&bs_command_queue_submit)>("bs_command_queue_submit");
    if (command->kernel == nullptr) {
        return real(queue, command);
    }
    auto launch = std::make_unique<basalt_launch>();
    launch->real = *command->kernel;
    bs_kernel_t timed = *command->kernel;
    timed.run_item = &run_item;
    timed.make_instance = &make_instance;
    timed.drop_instance = &drop_instance;
    timed.argument = launch.get();
    bs_command_t changed = *command;
    changed.kernel = &timed;
    {
        const std::lock_guard guard(lock);
        launches.push_back(std::move(launch));
    }
    return real(queue, &changed);
}

cl_int clEnqueueNDRangeKernel(cl_command_queue queue, cl_kernel kernel, cl_uint dimensions,
                              const size_t* offset, const size_t* global, const size_t* local,
                              cl_uint n_waits, const cl_event* waits, cl_event* event) {
    static const auto real = next<decltype(&clEnqueueNDRangeKernel)>("clEnqueueNDRangeKernel");
    const cl_int status = real(queue, kernel, dimensions, offset, global, local, n_waits, waits, event);
    if (status == CL_SUCCESS && event != nullptr) {
        clRetainEvent(*event);
        const std::lock_guard guard(lock);
        events.push_back(*event);
    }
    return status;
}

#pragma GCC visibility pop
}

namespace bench {

double take_kernel_seconds() {
    const std::lock_guard guard(lock);
    std::vector<interval> intervals;
    for (const auto& each : launches) {
        const std::lock_guard of_launch(each->lock);
        intervals.emplace_back(each->begin, each->end);
    }
    for (const auto each : events) {
        intervals.emplace_back(profiled(each, CL_PROFILING_COMMAND_START),
                               profiled(each, CL_PROFILING_COMMAND_END));
        clReleaseEvent(each);
    }
    launches.clear();
    events.clear();
    return length_of_union(std::move(intervals));
}

} // namespace bench
