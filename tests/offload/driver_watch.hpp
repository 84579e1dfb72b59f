#pragma once

#include <CL/cl.h>
#include <basalt/basalt.h>

#include <string>
#include <vector>

/// Functions of drivers and of the C library that this executable puts its own in front of.
namespace test {

/// Names of the kernels given to software GPUs since the last call, in order.
std::vector<std::string> take_launched_kernels();

/// Commands whose kernel has \p part in its name wait for \p gate, too; null ends that.
void delay_kernels(const std::string& part, bs_event_handle_t gate);

/// Allocations of device memory tried since the last call.
int take_tried_allocations();

/// Threads that this process tries to start fail from here on, or no longer.
void refuse_threads(bool refused);

/// Callbacks asked for with \p user are refused from here on; null ends that.
void refuse_callbacks_for(void* user);

/// The event of a callback asked for with \p user is kept from here on; null ends that.
void watch_callback_for(void* user);

/// The last event kept, retained for the caller; null if there is none.
cl_event take_event_of_callback();

} // namespace test
