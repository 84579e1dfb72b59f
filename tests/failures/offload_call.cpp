#include "offload_call.hpp"

#include "child.hpp"

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

namespace test {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 5s;
constexpr char no_completion[] = "no completion for interop object";

std::atomic<int> errors_handled = 0;

/// The queue's owner asks for what went wrong.
void ask_for_errors(const interop_object& interop) {
    void* queue = nullptr;
    if (__tgt_get_interop_property(interop.get(), OMPTARGET_QUEUE, &queue) == 0) {
        static_cast<sycl::queue*>(queue)->throw_asynchronous();
    }
}

} // namespace

interop_device& sycl_gpu_with_handler() {
    static auto* const device = new_sycl_gpu([](const sycl::exception_list& errors) {
                                    errors_handled += static_cast<int>(errors.size());
                                }).release();
    return *device;
}

void offload_call::prepare() {
    task_ = std::make_unique<offload_task<double, std::int64_t>>(
        device_, make<double>({.n_dims = form_.n_dims, .n_observations = form_.n_observations}));
    interop_ = device_.interop();
    if (interop_ == nullptr) {
        throw std::bad_alloc();
    }
    omptarget_interop_set_nowait(interop_.get(), form_.nowait ? 1 : 0);
    captured_stderr::clear();
    errors_handled = 0;
    completions = 0;
    has_ended = false;
}

void offload_call::call() {
    {
        std::optional<held_device> held;
        if (form_.held) {
            held.emplace(device_);
        }
        status = compute(*task_, form_.estimates, 1, interop_);
    }
    has_ended = !form_.nowait || status != 0;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!has_ended && std::chrono::steady_clock::now() < end) {
        has_ended =
            omptarget_interop_completions(interop_.get()) != 0 || captured_stderr::holds(no_completion);
        std::this_thread::sleep_for(50us);
    }
}

void offload_call::conclude() {
    completions = omptarget_interop_completions(interop_.get());
    printed = captured_stderr::text();
    if (&device_ == &sycl_gpu_with_handler()) {
        ask_for_errors(interop_);
    }
    handler_errors = errors_handled;
    results.clear();
    for (std::size_t at = slot_mean; at < record_bytes; at += 8) {
        const auto values = task_->result(at);
        results.insert(results.end(), values.begin(), values.end());
    }
    task_.reset();
    interop_.reset();
}

std::string offload_call::contradiction() const {
    const bool has_line = printed.find(no_completion) != std::string::npos;
    if (!has_ended) {
        return "neither completion nor a line came";
    }
    if (status != 0 && status != -2) {
        return "the status is " + std::to_string(status);
    }
    if (completions != (form_.nowait && status == 0 && !has_line ? 1u : 0u)) {
        return std::to_string(completions) + " completions after status " + std::to_string(status) +
               (has_line ? " and the line" : "");
    }
    if (status == 0 && !has_line && !printed.empty()) {
        return "words on stderr beside a success: " + printed;
    }
    return "";
}

bool offload_call::leaves_an_event() const {
    return device_.runtime == OMPTARGET_FR_OPENCL && printed.find(no_completion) != std::string::npos;
}

} // namespace test
