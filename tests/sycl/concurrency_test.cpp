#include "devices.hpp"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

using test::in_host_task;
using test::int_buffer;

namespace {

constexpr int n_threads = 8;

template <typename Work>
void on_threads(const Work& work) {
    std::vector<std::thread> threads;
    for (int t = 0; t < n_threads; ++t) {
        threads.emplace_back([&work, t] { work(t); });
    }
    for (auto& each : threads) {
        each.join();
    }
}

} // namespace

TEST(concurrency, threads_share_a_buffer_through_several_queues) {
    std::vector<sycl::queue> queues(test::devices().begin(), test::devices().end());
    constexpr int rounds = 30;
    int total = 0;
    {
        int_buffer shared(&total, 1);
        on_threads([&](int t) {
            for (int i = 0; i < rounds; ++i) {
                auto& queue = queues[static_cast<std::size_t>(t + i) % queues.size()];
                if (i % 3 == 0) {
                    queue.submit([&](sycl::handler& group) {
                        sycl::accessor target(shared, group, sycl::read_write);
                        group.host_task([=] { target[0] += 1; });
                    });
                } else {
                    test::in_kernel(queue, shared, [](int& x) { x += 1; });
                }
            }
        });
    }
    EXPECT_EQ(total, n_threads * rounds);
}

TEST(concurrency, every_thread_makes_and_drops_queues_buffers_and_events) {
    const auto device = test::gpu_with_limit(4);
    std::atomic<int> right{0};
    on_threads([&](int t) {
        for (int i = 0; i < 20; ++i) {
            std::vector<int> values(8, t);
            {
                sycl::queue queue(device);
                int_buffer data(values.data(), values.size());
                queue.submit([&](sycl::handler& group) {
                    sycl::accessor target(data, group, sycl::read_write);
                    group.parallel_for(sycl::nd_range<1>(8, 4), [=](sycl::nd_item<1> item) {
                        int& mine = target[item.get_global_id(0)];
                        mine = sycl::reduce_over_group(item.get_group(), mine, sycl::plus<int>());
                    });
                });
            }
            right += values == std::vector<int>(8, 4 * t) ? 1 : 0;
        }
    });
    EXPECT_EQ(right, n_threads * 20);
}

TEST(concurrency, events_are_waited_for_by_many_while_they_complete) {
    sycl::queue queue(sycl::cpu_selector_v);
    for (int i = 0; i < 30; ++i) {
        int value = 0;
        const auto event = in_host_task(queue, [&] { value = 7; });
        std::atomic<int> seen{0};
        on_threads([&](int) {
            sycl::event(event).wait();
            seen += value;
        });
        EXPECT_EQ(seen, 7 * n_threads);
    }
}

TEST(concurrency, a_thread_that_waits_does_not_run_a_task_that_has_begun) {
    sycl::queue queue(sycl::cpu_selector_v);
    std::atomic<int> runs{0};
    auto event = in_host_task(queue, [&] {
        ++runs;
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // time for the waiting thread to come
    });
    while (runs == 0) {
        std::this_thread::yield();
    }
    event.wait();
    EXPECT_EQ(runs, 1);
}

// A program that waits for every task runs them on its own thread, and the pool sleeps on.
TEST(concurrency, a_task_that_nobody_waits_for_runs_after_many_that_were_waited_for) {
    sycl::queue queue(sycl::cpu_selector_v);
    for (int round = 0; round < 20; ++round) {
        for (int i = 0; i < 50; ++i) {
            in_host_task(queue, [] {}).wait();
        }
        std::promise<void> ran;
        in_host_task(queue, [&] { ran.set_value(); });
        ASSERT_EQ(ran.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready) << round;
        std::vector<sycl::event> last;
        int length = 0;
        for (int i = 0; i < 5; ++i) {
            last = {in_host_task(
                queue, [&] { ++length; }, last)};
        }
        last[0].wait();
        ASSERT_EQ(length, 5) << round;
    }
}

TEST(concurrency, errors_of_many_threads_are_all_reported) {
    std::atomic<std::size_t> reported{0};
    {
        sycl::queue queue(sycl::cpu_selector_v,
                          [&](const sycl::exception_list& errors) { reported += errors.size(); });
        on_threads([&](int) {
            for (int i = 0; i < 10; ++i) {
                in_host_task(queue, [] { throw std::runtime_error("x"); }).wait_and_throw();
            }
        });
    }
    EXPECT_EQ(reported, n_threads * 10U);
}
