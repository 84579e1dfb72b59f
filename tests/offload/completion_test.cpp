#include "driver_watch.hpp"
#include "expected.hpp"

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <stdexcept>
#include <thread>

#include <pthread.h>

namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr unsigned soon = 60000;

using small_task = offload_task<double, std::int64_t>;

host_dataset<double> small_data(std::size_t n_observations = 100) {
    return make<double>({.n_dims = 2, .n_observations = n_observations});
}

/// Groups that do not wait before they return, whatever the size.
constexpr auto est_sums = est_all & ~(est_min | est_max);
const auto sums = slots_between(slot_mean, slot_variation);

interop_object nowait_interop(interop_device& device) {
    auto interop = device.interop();
    omptarget_interop_set_nowait(interop.get(), 1);
    return interop;
}

/// A completion too many would come right after the first.
void expect_one_completion(const interop_object& interop) {
    EXPECT_TRUE(omptarget_interop_wait(interop.get(), 1, soon));
    EXPECT_FALSE(omptarget_interop_wait(interop.get(), 2, 20));
    EXPECT_EQ(omptarget_interop_completions(interop.get()), 1u);
}

void expect_no_completion(const interop_object& interop) {
    EXPECT_FALSE(omptarget_interop_wait(interop.get(), 1, 50));
}

bool has_sum(const small_task& task) {
    return task.result(slot_sum)[0] != rubbish<double>;
}

class completion : public testing::TestWithParam<interop_device*> {
protected:
    interop_device& device = *GetParam();
    small_task task{device, small_data()};

    /// A call that does not wait, while its work is held back, and its completion after that.
    void expect_completion_after_the_work(unsigned long long estimates, int status) {
        const auto interop = nowait_interop(device);
        held_device held(device);
        EXPECT_EQ(compute(task, estimates, 1, interop), status);
        expect_no_completion(interop);
        expect_untouched(task);
        held.let_go();
        expect_one_completion(interop);
    }
};
INSTANTIATE_TEST_SUITE_P(devices, completion, testing::ValuesIn(holdable_devices()),
                         [](const auto& chosen) { return chosen.param->name; });

/// What the completion routine finds in the results at the moment it is called.
struct witness {
    const small_task* task;
    std::atomic<int> calls = 0;
    std::vector<double> kurtosis = {}, sum = {};

    void look() {
        kurtosis = task->result(slot_kurtosis);
        sum = task->result(slot_sum);
        ++calls;
    }
};
witness* of_this_test = nullptr;

} // namespace

TEST_P(completion, comes_once_and_never_before_the_results) {
    expect_completion_after_the_work(est_sums, 0);
    expect_results(task, sums, device.work_group_limit);
}

TEST_P(completion, covers_groups_that_ran_before_a_refused_one) {
    task.set(slot_kurtosis, nullptr);
    expect_completion_after_the_work(est_sum | est_kurtosis, -4013);
    EXPECT_TRUE(has_sum(task));
}

TEST_P(completion, routine_sees_the_results) {
    const auto interop = nowait_interop(device);
    witness seen{&task};
    of_this_test = &seen;
    void (*const routine)(void*) = [](void*) { of_this_test->look(); };
    omptarget_interop_set_pointer(interop.get(), OMPTARGET_COMPLETION, reinterpret_cast<void*>(routine));
    EXPECT_EQ(compute(task, est_sum | est_kurtosis, 1, interop), 0);
    while (seen.calls == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(seen.kurtosis, task.result(slot_kurtosis));
    EXPECT_EQ(seen.sum, task.result(slot_sum));
    EXPECT_TRUE(has_sum(task));
}

TEST_P(completion, of_a_waiting_program_or_a_bad_task_is_not_called) {
    const auto waiting = device.interop();
    EXPECT_EQ(compute(task, est_sums, 1, waiting), 0);
    expect_results(task, sums, device.work_group_limit);
    expect_no_completion(waiting);
    task.n_dims = 0;
    const auto interop = nowait_interop(device);
    EXPECT_EQ(compute(task, est_all, 1, interop), -4001);
    expect_no_completion(interop);
}

// Without an event there is nothing that OpenCL could call back for.
TEST_P(completion, after_an_empty_mask_or_refused_groups_alone) {
    const bool is_opencl = device.runtime == OMPTARGET_FR_OPENCL;
    for (const auto& [estimates, method, status] : {std::tuple(0ull, 1, 0), std::tuple(1ull << 40, 1, 0),
                                                    std::tuple(0ull + est_min + est_sum, 256, -4029)}) {
        const auto interop = nowait_interop(device);
        EXPECT_EQ(compute(task, estimates, method, interop), is_opencl ? -2 : status);
        is_opencl ? expect_no_completion(interop) : expect_one_completion(interop);
    }
    expect_untouched(task);
}

TEST_P(completion, is_left_out_when_its_property_cannot_be_read) {
    const auto interop = nowait_interop(device);
    omptarget_interop_fail(interop.get(), OMPTARGET_COMPLETION, -1);
    EXPECT_EQ(compute(task, est_sum, 1, interop), 0);
    expect_no_completion(interop);
    // The object must outlive the attempt, which nobody announces.
    for (std::vector<int> reads; std::count(reads.begin(), reads.end(), OMPTARGET_COMPLETION) == 0;) {
        reads = reads_of(interop);
    }
    std::this_thread::sleep_for(10ms);
}

TEST_P(completion, of_a_thousand_calls_in_flight) {
    constexpr std::size_t n_threads = 8, n_calls = 125;
    std::deque<small_task> tasks;
    std::vector<interop_object> interops;
    for (std::size_t i = 0; i < n_threads * n_calls; ++i) {
        tasks.emplace_back(device, small_data(5 + i % 7));
        interops.push_back(nowait_interop(device));
    }
    held_device held(device);
    std::vector<std::future<void>> callers;
    for (std::size_t t = 0; t < n_threads; ++t) {
        callers.push_back(std::async(std::launch::async, [&, t] {
            for (std::size_t i = t * n_calls; i < (t + 1) * n_calls; ++i) {
                EXPECT_EQ(compute(tasks[i], est_min | est_mean, 1, interops[i]), 0);
            }
        }));
    }
    callers.clear();
    for (const auto& interop : interops) {
        EXPECT_EQ(omptarget_interop_completions(interop.get()), 0u);
    }
    held.let_go();
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        ASSERT_TRUE(omptarget_interop_wait(interops[i].get(), 1, soon)) << "call " << i;
        expect_results(tasks[i], {slot_minimum, slot_mean, slot_raw2, slot_raw3, slot_raw4},
                       device.work_group_limit);
    }
    for (const auto& interop : interops) {
        EXPECT_EQ(omptarget_interop_completions(interop.get()), 1u);
    }
}

namespace {

/// Makes the sums, the first group of a call, finish last.
class slow_sums {
public:
    slow_sums() {
        EXPECT_EQ(bs_event_create(&gate_), BS_SUCCESS);
        set(gate_);
    }
    ~slow_sums() {
        open();
        bs_event_destroy(gate_);
    }
    slow_sums(const slow_sums&) = delete;
    slow_sums& operator=(const slow_sums&) = delete;
    void open() {
        if (closed_) {
            set(nullptr);
            bs_event_signal(gate_, BS_SUCCESS);
            closed_ = false;
        }
    }

private:
    static void set(bs_event_handle_t gate) {
        const std::lock_guard guard(watch().lock);
        watch().delayed = "raw_sum_func_fast";
        watch().gate = gate;
    }

    bs_event_handle_t gate_ = nullptr;
    bool closed_ = true;
};

} // namespace

TEST(out_of_order_queue, completion_covers_an_earlier_group_that_finishes_last) {
    for (auto* const device : {&software_gpu(), &sycl_gpu()}) {
        small_task task(*device, small_data());
        const auto interop = nowait_interop(*device);
        slow_sums slow;
        EXPECT_EQ(compute(task, est_sum | est_kurtosis, 1, interop), 0);
        expect_no_completion(interop);
        slow.open();
        expect_one_completion(interop);
        EXPECT_TRUE(has_sum(task));
        EXPECT_NE(task.result(slot_kurtosis)[0], rubbish<double>);
    }
}

TEST(out_of_order_queue, a_waiting_call_waits_for_an_earlier_group_that_finishes_last) {
    for (auto* const device : {&software_gpu(), &sycl_gpu()}) {
        small_task task(*device, small_data());
        const auto interop = device->interop();
        slow_sums slow;
        auto status =
            std::async(std::launch::async, [&] { return compute(task, est_sum | est_kurtosis, 1, interop); });
        EXPECT_EQ(status.wait_for(50ms), std::future_status::timeout);
        slow.open();
        EXPECT_EQ(status.get(), 0);
        EXPECT_TRUE(has_sum(task));
    }
}

// On OpenCL it would be a thread of the driver's that ends.
TEST(completion_thread, may_be_ended_by_the_routine) {
    for (auto* const device : {&software_gpu(), &sycl_gpu()}) {
        small_task task(*device, small_data());
        const auto interop = nowait_interop(*device);
        static std::atomic<int> calls;
        calls = 0;
        void (*const routine)(void*) = [](void*) {
            ++calls;
            pthread_exit(nullptr);
        };
        omptarget_interop_set_pointer(interop.get(), OMPTARGET_COMPLETION, reinterpret_cast<void*>(routine));
        EXPECT_EQ(compute(task, est_sum, 1, interop), 0);
        while (calls == 0) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(10ms); // an exception that is not rethrown would abort the program now
        EXPECT_TRUE(has_sum(task));
    }
}

// Nothing that the routine throws may enter a thread of ours or of OpenCL.
TEST_P(completion, routine_may_throw) {
    const auto interop = nowait_interop(device);
    static std::atomic<int> calls;
    calls = 0;
    void (*const routine)(void*) = [](void*) {
        ++calls;
        throw std::runtime_error("no completion wanted");
    };
    omptarget_interop_set_pointer(interop.get(), OMPTARGET_COMPLETION, reinterpret_cast<void*>(routine));
    testing::internal::CaptureStderr();
    EXPECT_EQ(compute(task, est_sum, 1, interop), 0);
    while (calls == 0) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Qtx Stats: std::exception what: no completion wanted\n");
    EXPECT_EQ(compute(task, est_sum, 1, device.interop()), 0) << "the device goes on";
}

// The call is over for its caller, who may free the arrays: nothing of it may be under way any more.
TEST(completion_thread, that_cannot_be_made_leaves_no_work_under_way) {
    const auto slow = new_software_gpu(16, 20000, true);
    for (auto* const device : {slow.get(), &sycl_gpu_in_order()}) {
        small_task task(*device, small_data()), warm_up(*device, small_data());
        const auto interop = nowait_interop(*device);
        EXPECT_EQ(compute(warm_up, est_sum, 1, device->interop()), 0)
            << "which starts the run-time's own threads";
        testing::internal::CaptureStderr();
        watch().no_threads = true;
        const int status = compute(task, est_sum, 1, interop);
        watch().no_threads = false;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Qtx Stats: std::exception what: Resource temporarily unavailable\n");
        EXPECT_EQ(status, -2);
        EXPECT_TRUE(has_sum(task));
        expect_no_completion(interop);
    }
}

namespace {

class opencl_callback : public testing::Test {
protected:
    void SetUp() override { NEEDS_OPENCL(); }

    /// The references of an event, when only the test's own is left or after two seconds.
    static cl_uint references_left_of(cl_event event) {
        cl_uint count = 0;
        for (int i = 0; i < 2000 && count != 1; ++i) {
            std::this_thread::sleep_for(1ms);
            EXPECT_EQ(clGetEventInfo(event, CL_EVENT_REFERENCE_COUNT, sizeof count, &count, nullptr),
                      CL_SUCCESS);
        }
        return count;
    }
};

} // namespace

TEST_F(opencl_callback, balances_the_events_references) {
    for (const auto estimates : {0ull + est_sum, est_sum | est_kurtosis}) {
        for (auto* const device : {opencl(), opencl_out_of_order()}) {
            small_task task(*device, small_data());
            const auto interop = nowait_interop(*device);
            watch().watched_user = interop.get();
            EXPECT_EQ(compute(task, estimates, 1, interop), 0);
            expect_one_completion(interop);
            watch().watched_user = nullptr;
            const cl_event event = watch().kept_event.exchange(nullptr);
            ASSERT_NE(event, nullptr);
            EXPECT_EQ(references_left_of(event), 1u);
            clReleaseEvent(event);
        }
    }
}

TEST_F(opencl_callback, that_is_refused_leaves_no_work_under_way) {
    small_task task(*opencl(), small_data());
    const auto interop = nowait_interop(*opencl());
    watch().refused_user = interop.get();
    EXPECT_EQ(compute(task, est_sum, 1, interop), -2);
    watch().refused_user = nullptr;
    EXPECT_TRUE(has_sum(task));
    expect_no_completion(interop);
}
