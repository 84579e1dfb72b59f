// What the tests of the software GPU share: devices and queues that clean up, and kernels made from a
// callable.
#pragma once

#include <basalt/basalt.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace basalt_test {

/// Throws on failure, so that helpers that return values can be used anywhere.
inline void check(bs_result_t result) {
    if (result != BS_SUCCESS) {
        throw std::runtime_error("basalt returned " + std::to_string(result) + ": " + bs_last_error());
    }
}

inline bs_platform_handle_t platform() {
    bs_platform_handle_t p = nullptr;
    check(bs_platform_get(&p));
    return p;
}

inline bs_device_desc_t desc_with(std::size_t work_group, std::uint32_t threads, std::uint32_t delay_us = 0) {
    bs_device_desc_t desc;
    bs_device_desc_init(&desc);
    desc.max_work_group_size = work_group;
    desc.n_threads = threads;
    desc.launch_delay_us = delay_us;
    return desc;
}

inline bs_device_handle_t add_device(const bs_device_desc_t& desc) {
    bs_device_handle_t device = nullptr;
    check(bs_device_add_hidden(platform(), &desc, &device));
    return device;
}

/// One device for each number of threads, shared by all tests: devices live to the end of the process.
inline bs_device_handle_t device_with_threads(std::uint32_t threads) {
    static std::vector<bs_device_handle_t> devices(16);
    bs_device_handle_t& device = devices.at(threads);
    if (device == nullptr) {
        device = add_device(desc_with(4096, threads));
    }
    return device;
}

class event {
public:
    event() { check(bs_event_create(&handle_)); }
    ~event() { bs_event_destroy(handle_); }
    event(const event&) = delete;
    event& operator=(const event&) = delete;
    operator bs_event_handle_t() const { return handle_; }
    bs_result_t wait() const { return bs_event_wait(handle_); }
    bs_result_t query() const { return bs_event_query(handle_); }

private:
    bs_event_handle_t handle_ = nullptr;
};

/// A kernel whose work-items call \p body(item, local memory).
class kernel {
public:
    using body = std::function<void(const bs_work_item_t&, void*)>;

    kernel(std::size_t n_groups, std::size_t local_size, body f, std::size_t local_bytes = 0,
           const char* name = "k")
        : body_(std::move(f)) {
        kernel_.name = name;
        kernel_.run_item = [](void* i, const bs_work_item_t* item) {
            auto* const self = static_cast<instance*>(i);
            self->owner->body_(*item, self->local);
        };
        kernel_.make_instance = [](void* argument, void* local) -> void* {
            auto* const owner = static_cast<kernel*>(argument);
            if (owner->refuses_instances) {
                throw std::runtime_error("no more instances");
            }
            ++owner->made;
            return new instance{owner, local};
        };
        kernel_.drop_instance = [](void* i) {
            ++static_cast<instance*>(i)->owner->dropped;
            delete static_cast<instance*>(i);
        };
        kernel_.argument = this;
        kernel_.n_groups = n_groups;
        kernel_.local_size = local_size;
        kernel_.local_memory_bytes = local_bytes;
    }
    kernel(const kernel&) = delete;
    kernel& operator=(const kernel&) = delete;
    const bs_kernel_t* get() const { return &kernel_; }

    std::atomic<int> made{0};
    std::atomic<int> dropped{0};
    bool refuses_instances = false;

private:
    struct instance {
        kernel* owner;
        void* local;
    };
    body body_;
    bs_kernel_t kernel_{};
};

class queue {
public:
    explicit queue(bs_device_handle_t device, bool in_order = false) : device_(device) {
        check(bs_context_create(platform(), 1, &device, &context_));
        check(bs_command_queue_create(context_, device, in_order ? 1 : 0, &queue_));
    }
    ~queue() {
        EXPECT_EQ(bs_command_queue_destroy(queue_), BS_SUCCESS);
        EXPECT_EQ(bs_context_destroy(context_), BS_SUCCESS) << bs_last_error();
    }
    queue(const queue&) = delete;
    queue& operator=(const queue&) = delete;
    operator bs_command_queue_handle_t() const { return queue_; }
    bs_context_handle_t context() const { return context_; }
    bs_device_handle_t device() const { return device_; }

    bs_result_t try_submit(const kernel* k, const std::vector<bs_event_handle_t>& waits = {},
                           bs_event_handle_t signal = nullptr) const {
        bs_command_t command{};
        command.kernel = k != nullptr ? k->get() : nullptr;
        command.n_waits = static_cast<std::uint32_t>(waits.size());
        command.waits = waits.data();
        command.signal = signal;
        return bs_command_queue_submit(queue_, &command);
    }
    void submit(const kernel& k, const std::vector<bs_event_handle_t>& waits = {},
                bs_event_handle_t signal = nullptr) const {
        check(try_submit(&k, waits, signal));
    }
    /// Runs the kernel to its end and returns how it ended.
    bs_result_t run(const kernel& k) const {
        const event done;
        submit(k, {}, done);
        return done.wait();
    }

private:
    bs_device_handle_t device_;
    bs_context_handle_t context_ = nullptr;
    bs_command_queue_handle_t queue_ = nullptr;
};

/// Holds a device for as long as it lives.
class device_hold {
public:
    explicit device_hold(bs_device_handle_t device) : device_(device) { check(bs_device_hold(device)); }
    ~device_hold() { release(); }
    device_hold(const device_hold&) = delete;
    device_hold& operator=(const device_hold&) = delete;
    void release() {
        if (device_ != nullptr) {
            EXPECT_EQ(bs_device_release(std::exchange(device_, nullptr)), BS_SUCCESS);
        }
    }

private:
    bs_device_handle_t device_;
};

inline void sum_doubles(void* values, std::size_t count, void* result) {
    const auto* v = static_cast<const double*>(values);
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += v[i];
    }
    *static_cast<double*>(result) = sum;
}

inline double group_sum(const bs_work_item_t& item, double value) {
    double sum = -1;
    bs_group_combine(&item, &value, sizeof(value), sum_doubles, &sum);
    return sum;
}

} // namespace basalt_test
