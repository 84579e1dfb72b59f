#pragma once

#include "offload/task.hpp"

#include <memory>
#include <string>
#include <vector>

namespace test {

/// A queue of a software GPU with a handler that counts errors, id 4.
interop_device& sycl_gpu_with_handler();

/// One call of an offload entry, up to its completion; may be made again and again.
class offload_call {
public:
    struct form {
        unsigned long long estimates = est_min | est_sum | est_kurtosis;
        bool nowait = false;
        std::size_t n_dims = 2;
        std::size_t n_observations = 100;
        bool held = false; ///< the device starts nothing before the entry has returned
    };
    offload_call(interop_device& device, const form& how) : device_(device), form_(how) {}

    /// Makes what the caller of the entry has: a task and an interop object.
    void prepare();
    /// Calls the entry and, if it says that a completion will come, waits for that or for the line that says why none
    /// comes. Throws nothing, and calls nothing that a fault could hit.
    void call();
    /// Looks at what has become of it, and lets go of task and interop object.
    void conclude();

    const void* interop() const { return interop_.get(); }

    int status = 0;
    unsigned completions = 0;
    bool has_ended = false;      ///< unless the call returned 0 and neither completion nor line came
    std::string printed;         ///< on stderr, which must be captured
    int handler_errors = 0;      ///< that reached the queue's handler, once its owner asked for them
    std::vector<double> results; ///< all that were asked for

    /// What contradicts the promises of the entry, whatever happened; "" if nothing does.
    std::string contradiction() const;
    /// Whether an event of OpenCL stays behind, as it does when its command has failed.
    bool leaves_an_event() const;

private:
    interop_device& device_;
    form form_;
    std::unique_ptr<offload_task<double, std::int64_t>> task_;
    interop_object interop_;
};

} // namespace test
