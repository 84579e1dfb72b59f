#include "../support/errors.hpp"
#include "device.hpp"
#include "kernels.hpp"

#define CL_TARGET_OPENCL_VERSION 210
#include <CL/cl.h>
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

using testing::HasSubstr;
using testing::SizeIs;

namespace {

class opencl_events : public test::on_opencl {
protected:
    void SetUp() override {
        on_opencl::SetUp();
        if (!IsSkipped()) {
            values = sycl::malloc_shared<float>(n, queue);
            std::fill_n(values, n, 1.0F);
        }
    }
    void TearDown() override {
        if (values != nullptr) {
            sycl::free(values, queue);
        }
    }

    static constexpr std::size_t n = 16;
    float* values = nullptr;
};

/// A host task that ends when it is told to.
class gate {
public:
    sycl::event submit(sycl::queue& queue) {
        return queue.submit(
            [this](sycl::handler& handler) { handler.host_task([opened = opened_] { opened.wait(); }); });
    }
    void open() { promise_.set_value(); }

private:
    std::promise<void> promise_;
    std::shared_future<void> opened_ = promise_.get_future().share();
};

cl_int status_of(cl_event event) {
    cl_int status = 0;
    EXPECT_EQ(clGetEventInfo(event, CL_EVENT_COMMAND_EXECUTION_STATUS, sizeof status, &status, nullptr),
              CL_SUCCESS);
    return status;
}

std::vector<cl_event> native(const sycl::event& event) {
    return sycl::get_native<sycl::backend::opencl>(event);
}

TEST_F(opencl_events, a_native_event_exists_while_the_command_waits_for_a_host_task) {
    gate closed;
    const sycl::event task = closed.submit(queue);
    sycl::event kernel = test::scale_and_count(queue, values, n, 2.0F, {task});
    ASSERT_THAT(native(task), SizeIs(1));
    ASSERT_THAT(native(kernel), SizeIs(1));
    EXPECT_GT(status_of(native(task).front()), CL_COMPLETE);
    EXPECT_GT(status_of(native(kernel).front()), CL_COMPLETE);
    EXPECT_EQ(values[1], 1.0F);
    closed.open();
    kernel.wait();
    EXPECT_EQ(status_of(native(kernel).front()), CL_COMPLETE);
    EXPECT_EQ(values[1], 3.0F);
}

TEST_F(opencl_events, a_failed_host_task_ends_what_waits_for_it_and_nothing_else) {
    const test::recorder errors;
    sycl::queue faulty(device, errors);
    gate closed;
    const sycl::event first = closed.submit(faulty);
    const sycl::event task = faulty.submit([&](sycl::handler& handler) {
        handler.depends_on(first);
        handler.host_task([] { throw std::runtime_error("the disk is full"); });
    });
    sycl::event kernel = test::scale_and_count(faulty, values, n, 2.0F, {task});
    sycl::event after = test::scale_and_count(faulty, values, n, 2.0F, {kernel});
    const auto native_kernel = native(kernel);
    ASSERT_THAT(native_kernel, SizeIs(1));
    closed.open();
    after.wait();
    EXPECT_EQ(values[1], 1.0F);
    EXPECT_LT(status_of(native_kernel.front()), 0);
    faulty.throw_asynchronous();
    ASSERT_THAT(*errors.messages, SizeIs(3));
    EXPECT_EQ(errors.messages->at(0), "the disk is full");
    EXPECT_THAT(errors.messages->at(1), HasSubstr("the disk is full"));

    test::scale_and_count(faulty, values, n, 2.0F).wait();
    EXPECT_EQ(values[1], 3.0F);
}

TEST_F(opencl_events, dependencies_reach_across_backends_in_both_directions) {
    sycl::queue other(sycl::cpu_selector_v);
    std::vector<float> host(n, 1.0F);
    gate closed;
    const sycl::event task = closed.submit(other);
    sycl::event scaled = test::scale_and_count(queue, values, n, 3.0F, {task});
    sycl::event copied = other.submit([&](sycl::handler& handler) {
        handler.depends_on(scaled);
        handler.host_task([&] { std::copy_n(values, n, host.begin()); });
    });
    closed.open();
    copied.wait();
    EXPECT_EQ(host[2], 5.0F);
}

/// Whether nobody but the test holds the queue, soon: the driver's thread lets go a little after it tells of completion.
bool becomes_the_last_reference(cl_command_queue queue) {
    cl_uint references = 0;
    for (int i = 0; i < 2000 && references != 1; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(i == 0 ? 0 : 1));
        clGetCommandQueueInfo(queue, CL_QUEUE_REFERENCE_COUNT, sizeof references, &references, nullptr);
    }
    return references == 1;
}

TEST_F(opencl_events, wrapped_queue_of_a_wrapped_context_runs_in_its_own_order) {
    const cl_device_id native_device = sycl::get_native<sycl::backend::opencl>(device);
    const cl_context native_context = clCreateContext(nullptr, 1, &native_device, nullptr, nullptr, nullptr);
    ASSERT_NE(native_context, nullptr);
    const cl_command_queue native_queue =
        clCreateCommandQueueWithProperties(native_context, native_device, nullptr, nullptr);
    ASSERT_NE(native_queue, nullptr);
    {
        const auto context = sycl::make_context<sycl::backend::opencl>(native_context);
        sycl::queue wrapped = sycl::make_queue<sycl::backend::opencl>(native_queue, context);
        EXPECT_TRUE(wrapped.is_in_order());
        EXPECT_EQ(wrapped.get_device(), device);
        EXPECT_EQ(sycl::get_native<sycl::backend::opencl>(wrapped), native_queue);
        float* const own = sycl::malloc_shared<float>(n, wrapped);
        std::fill_n(own, n, 1.0F);
        for (int i = 0; i < 3; ++i) {
            test::scale_and_count(wrapped, own, n, 2.0F);
        }
        clFinish(native_queue);
        wrapped.wait();
        EXPECT_EQ(own[1], 15.0F);
        sycl::free(own, wrapped);
        EXPECT_THROW(sycl::make_queue<sycl::backend::opencl>(native_queue, queue.get_context()),
                     sycl::exception);
    }
    EXPECT_TRUE(becomes_the_last_reference(native_queue));
    clReleaseCommandQueue(native_queue);
    clReleaseContext(native_context);
}

TEST_F(opencl_events, many_threads_submit_to_one_queue) {
    constexpr int n_threads = 4;
    constexpr int n_steps = 25;
    std::vector<std::thread> threads;
    std::vector<float*> arrays;
    for (int t = 0; t < n_threads; ++t) {
        arrays.push_back(sycl::malloc_shared<float>(n, queue));
        std::fill_n(arrays.back(), n, 0.0F);
        threads.emplace_back([this, own = arrays.back()] {
            sycl::event last;
            for (int step = 0; step < n_steps; ++step) {
                last = test::scale_and_count(queue, own, n, 1.0F, {last});
            }
            last.wait();
        });
    }
    for (auto& each : threads) {
        each.join();
    }
    for (float* const each : arrays) {
        EXPECT_EQ(each[3], 3.0F * n_steps);
        sycl::free(each, queue);
    }
}

} // namespace
