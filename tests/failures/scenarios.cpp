#include "scenarios.hpp"

#include "offload_call.hpp"
#include "support/devices.hpp"
#include "wear/calls.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

namespace test {

namespace {

/// The first error, in words; kept without allocating, since it may tell of a want of memory.
class error_note {
public:
    void take(const char* what) {
        if (text_[0] == '\0') {
            std::snprintf(text_, sizeof text_, "%s", *what == '\0' ? "an error without words" : what);
        }
    }
    void take(const sycl::exception_list& errors) {
        for (const auto& error : errors) {
            try {
                std::rethrow_exception(error);
            } catch (const std::exception& known) {
                take(known.what());
            }
        }
    }
    void clear() { text_[0] = '\0'; }
    const char* text() const { return text_; }

private:
    char text_[300] = "";
};

class public_use final : public use {
public:
    /// One context, since no driver survives a failure while it compiles a kernel.
    public_use(const sycl::device& device, mixed_call call)
        : device_(device), context_(device), call_(std::move(call)) {}

    void prepare() override { error_ = std::make_shared<error_note>(); }
    void act() noexcept override {
        try {
            // Errors of commands that are still under way when the call has failed come later.
            sycl::queue queue(context_, device_,
                              [error = error_](const sycl::exception_list& errors) { error->take(errors); });
            results_ = call_.results(queue);
        } catch (const std::exception& error) {
            error_->take(error.what());
        }
    }
    outcome conclude() override { return {error_->text(), "", std::exchange(results_, {}), 0}; }

private:
    sycl::device device_;
    sycl::context context_;
    mixed_call call_;
    std::shared_ptr<error_note> error_;
    std::vector<double> results_;
};

class offload_use final : public use {
public:
    offload_use(interop_device& device, bool nowait) : call_(device, {.nowait = nowait}) {}

    void prepare() override { call_.prepare(); }
    void act() noexcept override { call_.call(); }
    outcome conclude() override {
        call_.conclude();
        std::string error = call_.printed;
        if (call_.status != 0) {
            error = "status " + std::to_string(call_.status) + " " + error;
        }
        return {error, call_.contradiction(), call_.results, call_.leaves_an_event() ? 1 : 0};
    }

private:
    offload_call call_;
};

/// A command of the software GPU's driver between two events, without the run-time.
class driver_use final : public use {
public:
    driver_use() {
        auto desc = default_desc();
        desc.n_threads = 2;
        require(bs_device_add(basalt_platform(), &desc, &device_));
        require(bs_context_create(basalt_platform(), 1, &device_, &context_));
    }
    ~driver_use() override { bs_context_destroy(context_); }

    void prepare() override {
        value_ = 0;
        awaited_ = called_ = 0;
        error_.clear();
    }
    void act() noexcept override {
        bs_command_queue_handle_t queue = nullptr;
        bs_event_handle_t gate = nullptr, done = nullptr;
        const auto count = [](void* calls, bs_result_t, const char*) {
            ++*static_cast<std::atomic<int>*>(calls);
        };
        if (went_well(bs_command_queue_create(context_, device_, 1, &queue)) &&
            went_well(bs_event_create(&gate)) && went_well(bs_event_create(&done)) &&
            went_well(bs_event_set_callback(done, count, &called_)) && ++awaited_ == 1 &&
            submit(queue, gate, done) && went_well(bs_event_signal(gate, BS_SUCCESS))) {
            went_well(bs_event_wait(done));
        }
        for (const auto each : {gate, done}) {
            if (each != nullptr) {
                bs_event_destroy(each);
            }
        }
        if (queue != nullptr) {
            bs_command_queue_destroy(queue);
        }
    }
    outcome conclude() override {
        for (int i = 0; i < 1000 && called_ != awaited_; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return {error_.text(), called_ == awaited_ ? "" : "the callback was not called once", {value_}, 0};
    }

private:
    static void run_item(void* value, const bs_work_item_t* item) {
        bs_group_barrier(item);
        if (item->local_id == 0) {
            *static_cast<double*>(value) = 7;
        }
    }

    bool submit(bs_command_queue_handle_t queue, bs_event_handle_t gate, bs_event_handle_t done) {
        bs_kernel_t kernel{};
        kernel.name = "seven";
        kernel.run_item = &run_item;
        kernel.make_instance = [](void* argument, void*) { return argument; };
        kernel.drop_instance = [](void*) {};
        kernel.argument = &value_;
        kernel.n_groups = 1;
        kernel.local_size = 4;
        kernel.local_memory_bytes = 64;
        bs_command_t command{};
        command.kernel = &kernel;
        command.n_waits = 1;
        command.waits = &gate;
        command.signal = done;
        return went_well(bs_command_queue_submit(queue, &command));
    }

    bool went_well(bs_result_t result) {
        if (result != BS_SUCCESS) {
            error_.take(bs_last_error());
        }
        return result == BS_SUCCESS;
    }

    bs_device_handle_t device_ = nullptr;
    bs_context_handle_t context_ = nullptr;
    error_note error_;
    double value_ = 0;
    int awaited_ = 0; ///< calls of the callback
    std::atomic<int> called_ = 0;
};

/// The device, or nothing.
std::vector<sycl::device> devices_of(back_end where) {
    switch (where) {
    case back_end::cpu:
        return {sycl::device(sycl::cpu_selector_v)};
    case back_end::software_gpu:
        return {gpu_with_limit(4)}; // several passes
    case back_end::opencl:
        return opencl_gpus();
    }
    return {};
}

scenario public_scenario(const char* name, back_end where) {
    constexpr const char* places[] = {" on the CPU", " on a software GPU", " on OpenCL"};
    const auto make = [=]() -> std::unique_ptr<use> {
        const auto calls = mixed_calls();
        const auto found =
            std::find_if(calls.begin(), calls.end(), [=](const auto& each) { return each.name == name; });
        const auto devices = devices_of(where);
        return devices.empty() ? nullptr : std::make_unique<public_use>(devices.front(), *found);
    };
    return {name + std::string(places[static_cast<int>(where)]), where, make};
}

template <typename Device>
scenario offload_scenario(const char* runtime, bool nowait, back_end where, Device device) {
    const auto make = [=]() -> std::unique_ptr<use> {
        interop_device* const found = device();
        return found == nullptr ? nullptr : std::make_unique<offload_use>(*found, nowait);
    };
    return {std::string("offload to ") + runtime + (nowait ? ", nowait" : ", waiting"), where, make};
}

} // namespace

const std::vector<scenario>& scenarios() {
    static const std::vector<scenario> all = [] {
        std::vector<scenario> list;
        for (const auto where : {back_end::cpu, back_end::software_gpu}) {
            for (const char* const name :
                 {"min_max, USM, masked", "kurtosis, USM, weighted, masked", "kurtosis, buffers, weighted"}) {
                list.push_back(public_scenario(name, where));
            }
        }
        list.push_back(
            {"driver alone", back_end::software_gpu, [] { return std::make_unique<driver_use>(); }, true});
        list.push_back(public_scenario("raw_sum, buffers", back_end::software_gpu));
        list.push_back(public_scenario("mean, USM, weighted", back_end::opencl));
        list.push_back(public_scenario("central_moment, USM", back_end::opencl));
        list.push_back(public_scenario("min_max, buffers", back_end::opencl));
        for (const bool nowait : {false, true}) {
            list.push_back(
                offload_scenario("basalt", nowait, back_end::software_gpu, [] { return &software_gpu(); }));
            list.push_back(offload_scenario("SYCL with handler", nowait, back_end::software_gpu,
                                            [] { return &sycl_gpu_with_handler(); }));
            list.push_back(offload_scenario("OpenCL", nowait, back_end::opencl, [] { return opencl(); }));
        }
        list.push_back(offload_scenario("OpenCL out of order", true, back_end::opencl,
                                        [] { return opencl_out_of_order(); }));
        return list;
    }();
    return all;
}

} // namespace test
