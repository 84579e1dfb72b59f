// What a submission leaves behind that fails for want of memory, whichever allocation it was.
#include "injector.hpp"
#include "support/devices.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <numeric>
#include <thread>
#include <vector>

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
            const char* failed = nullptr;
            const injection failure({.family = call_family::memory, .nth = n, .this_thread = true}, failed);
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

/// A command that overwrites a buffer of three elements with what \p next makes of their number; it reads them or not.
/// It also requires \p others, later.
template <typename Next, typename... Buffers>
void submit_writer(sycl::queue& queue, sycl::buffer<int, 1>& buffer, bool reads, Next next,
                   Buffers&... others) {
    queue.submit([&](sycl::handler& handler) {
        const sycl::accessor all(buffer, handler, sycl::read_write,
                                 reads ? sycl::property_list{}
                                       : sycl::property_list{sycl::property::no_init()});
        (handler.require(sycl::accessor(others)), ...);
        handler.single_task([=] {
            for (int i = 0; i < 3; ++i) {
                all[i] = next(all[i], i);
            }
        });
    });
}

TEST(failed_submission, leaves_buffers_their_contents) {
    const sycl::device device = gpu_with_limit(4);
    sycl::queue queue(device, ignore);
    for (const bool reads : {true, false}) {
        SCOPED_TRACE(reads ? "read and written" : "written without a look");
        int base = 0; // memory that is used again must not hold the right values by chance
        with_each_allocation_failing([&](auto failing) {
            base += 100;
            std::array<int, 3> values{};
            sycl::buffer<int, 1> buffer{sycl::range<1>(3)};
            std::iota(values.begin(), values.end(), base + 3);
            std::copy_n(values.begin(), 3, sycl::host_accessor(buffer, sycl::write_only).begin());
            const auto write = [&] {
                submit_writer(queue, buffer, reads,
                              [=](int old, int i) { return reads ? old + 10 : base + i + 13; });
            };
            failing(write);
            queue.wait();
            {
                const sycl::host_accessor result(buffer, sycl::read_only);
                const int done = result[0] == values[0] + 10 ? 10 : 0;
                EXPECT_THAT(std::vector(result.begin(), result.end()),
                            testing::ElementsAre(values[0] + done, values[1] + done, values[2] + done));
            }
            write();
            EXPECT_GE((sycl::host_accessor(buffer, sycl::read_only)[2]), values[2] + 10)
                << "the next one does not run";
        });
    }
}

TEST(failed_submission, leaves_the_order_of_a_buffer) {
    const sycl::device device = gpu_with_limit(4);
    sycl::queue queue(device, ignore);
    with_each_allocation_failing([&](auto failing) {
        sycl::buffer<int, 1> buffer{sycl::range<1>(3)};
        submit_writer(queue, buffer, false, [](int, int) { return 1; });
        std::promise<void> gate;
        int seen = 0;
        queue.submit([&](sycl::handler& handler) {
            const sycl::accessor all(buffer, handler, sycl::read_only);
            handler.host_task([&, all, opened = gate.get_future().share()] {
                opened.wait();
                seen = all[0];
            });
        });
        // Another buffer, so that the submission can fail when the first one has been dealt with.
        sycl::buffer<int, 1> other{sycl::range<1>(3)};
        failing([&] {
            submit_writer(
                queue, buffer, false, [](int, int) { return 1; }, other);
        });
        submit_writer(queue, buffer, false, [](int, int) { return 2; });
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // time for one that does not wait
        gate.set_value();
        queue.wait();
        EXPECT_EQ(seen, 1) << "overwritten before it was read";
    });
}

// The movement between the devices waits for the writer when its reader has been refused and the buffer has gone. The
// address sanitizer sees it if the buffer's memory has gone as well.
TEST(failed_submission, leaves_a_movement_its_buffer) {
    const sycl::device device = gpu_with_limit(4), source = gpu_with_limit(2);
    sycl::queue queue(sycl::context(device), device, ignore);
    sycl::queue writing(sycl::context(source), source, ignore);
    with_each_allocation_failing([&](auto failing) {
        held hold(source);
        {
            sycl::buffer<int, 1> buffer{sycl::range<1>(3)};
            submit_writer(writing, buffer, false, [](int, int i) { return i; });
            failing([&] { submit_writer(queue, buffer, true, [](int old, int) { return old + 1; }); });
        }
        hold.release();
        writing.wait();
        queue.wait();
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
