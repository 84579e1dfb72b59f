// What a submission leaves behind that fails for want of memory, whichever allocation it was.
#include "failing_new.hpp"
#include "support/devices.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using namespace test;

/// Calls \p body(n) with the n-th allocation failing, for each n until none fails. What \p body does before and after
/// the submission goes without failures.
template <typename Body>
void with_each_allocation_failing(Body body) {
    int n = 0;
    for (bool reached = true; reached && !testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        body([&](auto submit) {
            const failing_new failure(n, false);
            try {
                submit();
            } catch (const std::exception&) { // an asynchronous error goes to the queue instead
            }
            reached = failure.reached();
        });
    }
    EXPECT_GT(n, 5) << "too few allocations seen";
}

void ignore(const sycl::exception_list&) {}

} // namespace

TEST(failed_submission, leaves_buffers_their_contents) {
    const sycl::device device = gpu_with_limit(4);
    sycl::queue queue(device, ignore);
    with_each_allocation_failing([&](auto failing) {
        int values[3] = {3, 4, 5};
        sycl::buffer<int, 1> buffer{sycl::range<1>(3)};
        std::copy_n(values, 3, sycl::host_accessor(buffer, sycl::write_only).begin());
        const auto increment = [&] {
            queue.submit([&](sycl::handler& handler) {
                const sycl::accessor all(buffer, handler, sycl::read_write);
                handler.single_task([=] {
                    for (int i = 0; i < 3; ++i) {
                        all[i] += 10;
                    }
                });
            });
        };
        failing(increment);
        queue.wait();
        const int done = sycl::host_accessor(buffer, sycl::read_only)[0] / 10;
        increment();
        const sycl::host_accessor result(buffer, sycl::read_only);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(result[i], values[i] + 10 * (done + 1)) << "element " << i;
        }
    });
}

TEST(failed_submission, leaves_the_order_of_a_queue) {
    const sycl::device device = gpu_with_limit(4);
    sycl::queue queue(device, ignore, sycl::property_list{sycl::property::queue::in_order()});
    int* const value = sycl::malloc_shared<int>(1, queue);
    with_each_allocation_failing([&](auto failing) {
        *value = 0;
        int seen = 0;
        held hold(device);
        const sycl::event first = queue.fill(value, 1, 1);
        failing([&] { queue.fill(value, 2, 1); });
        sycl::event last =
            queue.submit([&](sycl::handler& handler) { handler.host_task([&] { seen = *value; }); });
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // time for one that does not wait
        hold.release();
        last.wait();
        EXPECT_NE(seen, 0) << "the task ran before what was submitted before it";
    });
    sycl::free(value, queue);
}
