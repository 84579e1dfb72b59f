#include "devices.hpp"

#include <atomic>
#include <future>

using test::in_host_task;
using test::int_buffer;

class graph : public test::on_every_device {
protected:
    std::promise<void> go_on;
    std::shared_future<void> gate = go_on.get_future().share();
};
ON_EVERY_DEVICE(graph);

TEST_P(graph, writers_and_readers_of_a_buffer_run_in_order_across_queues) {
    sycl::queue other(sycl::cpu_selector_v);
    int_buffer data{sycl::range<1>(1)};
    queue.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::write_only, sycl::no_init);
        group.single_task([=] { target[0] = 0; });
    });
    int expected = 0;
    for (int i = 1; i <= 7; ++i) {
        test::in_kernel(i % 2 == 0 ? queue : other, data, [i](int& x) { x = x * 3 + i; });
        expected = expected * 3 + i;
    }
    EXPECT_EQ(test::first_of(data), expected);
}

TEST_P(graph, a_reader_finishes_before_the_next_writer_starts) {
    int_buffer data{sycl::range<1>(1)};
    sycl::host_accessor<int>{data}[0] = 1;
    int seen = 0;
    queue.submit([&](sycl::handler& group) {
        sycl::accessor source(data, group, sycl::read_only);
        group.host_task([&, source] {
            gate.wait();
            seen = source[0];
        });
    });
    const auto writer = test::in_kernel(queue, data, [](int& x) { x = 2; });
    EXPECT_FALSE(test::complete(writer));
    EXPECT_EQ(sycl::event(writer).get_wait_list().size(), 1U);
    go_on.set_value();
    queue.wait();
    EXPECT_EQ(seen, 1);
}

TEST_P(graph, depends_on_orders_commands_without_buffers) {
    std::atomic<int> turn{0};
    std::vector<sycl::event> previous;
    for (int i = 0; i < 20; ++i) {
        previous = {in_host_task(
            queue, [&turn, i] { turn = turn == i ? i + 1 : -100; }, previous)};
    }
    sycl::event::wait(previous);
    EXPECT_EQ(turn, 20);
}

TEST_P(graph, an_in_order_queue_runs_one_command_after_the_other) {
    sycl::queue in_order(GetParam(), sycl::property::queue::in_order());
    EXPECT_TRUE(in_order.is_in_order());
    int value = 1;
    for (int i = 0; i < 10; ++i) {
        in_order.single_task([&value] { value = value * 2; });
        in_host_task(in_order, [&value] { value = value + 1; });
    }
    in_order.wait();
    EXPECT_EQ(value, 2047);
}

TEST_P(graph, an_empty_command_group_completes_after_its_dependencies) {
    const auto first = in_host_task(queue, [this] { gate.wait(); });
    auto empty = queue.submit([&](sycl::handler& group) { group.depends_on(first); });
    EXPECT_FALSE(test::complete(empty));
    go_on.set_value();
    empty.wait();
    EXPECT_TRUE(test::complete(first));
    EXPECT_EQ(empty.get_backend(), queue.get_backend());
}

// The waiting thread and the pool take the tasks from each other; each runs once.
TEST_P(graph, the_wait_of_a_queue_covers_everything_in_flight) {
    std::atomic<int> count{0};
    for (int i = 0; i < 2000; ++i) {
        in_host_task(queue, [&] { ++count; });
    }
    queue.wait();
    EXPECT_EQ(count, 2000);
}

TEST(events, a_default_event_is_complete) {
    sycl::event nothing;
    nothing.wait_and_throw();
    EXPECT_TRUE(test::complete(nothing));
    EXPECT_TRUE(nothing.get_wait_list().empty());
    EXPECT_EQ(nothing.get_backend(), sycl::backend::host);
}

TEST(graph_on_a_held_device, submission_returns_early_and_a_queue_may_go_while_its_commands_are_in_flight) {
    const auto device = test::gpu_with_limit(8);
    std::atomic<int> ran{0};
    sycl::event last;
    test::held hold(device);
    {
        sycl::queue queue(device);
        const auto first = queue.single_task([&ran] { ++ran; });
        last = queue.submit([&](sycl::handler& group) {
            group.depends_on(first);
            group.single_task([&ran] { ++ran; });
        });
        EXPECT_FALSE(test::complete(first));
    }
    EXPECT_FALSE(test::complete(last));
    hold.release();
    last.wait();
    EXPECT_TRUE(test::complete(last));
    EXPECT_EQ(ran, 2);
}
