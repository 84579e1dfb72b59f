// Events, order of commands, copies and fills, failures that travel along wait lists, threads that share a
// device.
#include "driver_fixture.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <numeric>
#include <thread>

namespace {

using namespace basalt_test;
using testing::ElementsAre;
using testing::HasSubstr;

const auto idle = [](const bs_work_item_t&, void*) {};

template <typename Condition>
bool within_20_seconds(const Condition& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    return condition();
}

/// Collects callbacks; their thread and order can be asked for.
class callback_log {
public:
    void listen(bs_event_handle_t event, int number) {
        check(bs_event_set_callback(event, &called, add_slot(number)));
    }
    void listen(bs_command_t& command, int number) {
        command.callback = &called;
        command.user = add_slot(number);
    }
    std::vector<int> wait_for(std::size_t count) {
        std::unique_lock lock(mutex_);
        EXPECT_TRUE(
            changed_.wait_for(lock, std::chrono::seconds(20), [&] { return numbers_.size() >= count; }));
        return numbers_;
    }
    // of the last call
    std::thread::id thread;
    bs_result_t status = BS_NOT_READY;
    std::string message;

private:
    struct slot {
        callback_log* log;
        int number;
    };
    slot* add_slot(int number) {
        const std::lock_guard lock(mutex_);
        slots_.push_back({this, number});
        return &slots_.back();
    }
    static void called(void* user, bs_result_t status, const char* message) {
        const auto [log, number] = *static_cast<slot*>(user);
        const std::lock_guard lock(log->mutex_);
        log->numbers_.push_back(number);
        log->thread = std::this_thread::get_id();
        log->status = status;
        log->message = message;
        log->changed_.notify_all();
    }
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<slot> slots_;
    std::vector<int> numbers_;
};

TEST(events, callbacks_run_once_in_order_before_and_after_completion) {
    const queue q(device_with_threads(2));
    device_hold hold(q.device());
    const event done;
    callback_log log;
    const kernel k(1, 1, idle);
    q.submit(k, {}, done);
    log.listen(done, 1);
    log.listen(done, 2);
    EXPECT_EQ(done.query(), BS_NOT_READY);
    hold.release();
    EXPECT_EQ(done.wait(), BS_SUCCESS);
    EXPECT_THAT(log.wait_for(2), ElementsAre(1, 2));
    EXPECT_NE(log.thread, std::this_thread::get_id());
    EXPECT_EQ(log.status, BS_SUCCESS);
    EXPECT_EQ(log.message, "");
    log.listen(done, 3);
    EXPECT_THAT(log.wait_for(3), ElementsAre(1, 2, 3));
}

TEST(events, commands_call_back_unless_they_are_refused) {
    const queue q(device_with_threads(1));
    const event done;
    callback_log log;
    bs_command_t command{};
    command.signal = done;
    log.listen(command, 1);
    EXPECT_EQ(bs_command_queue_submit(q, &command), BS_SUCCESS);
    EXPECT_THAT(log.wait_for(1), ElementsAre(1));
    log.listen(command, 2);
    EXPECT_EQ(bs_command_queue_submit(q, &command), BS_ERROR_INVALID_ARGUMENT) << "its event has completed";
    command.signal = nullptr;
    log.listen(command, 3);
    EXPECT_EQ(bs_command_queue_submit(q, &command), BS_SUCCESS);
    EXPECT_THAT(log.wait_for(2), ElementsAre(1, 3));
}

TEST(events, host_signals_are_told_by_a_thread_of_the_driver) {
    const event e;
    callback_log log;
    log.listen(e, 1);
    std::mutex callers_lock; // callbacks on this thread could not take it
    {
        const std::lock_guard lock(callers_lock);
        EXPECT_EQ(bs_event_signal(e, BS_ERROR_OUT_OF_MEMORY), BS_SUCCESS);
    }
    log.wait_for(1);
    EXPECT_NE(log.thread, std::this_thread::get_id());
    EXPECT_EQ(log.status, BS_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(e.query(), BS_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(bs_event_signal(e, BS_SUCCESS), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "the event has completed already");
    EXPECT_EQ(bs_event_signal(event(), BS_NOT_READY), BS_ERROR_INVALID_ARGUMENT);
}

TEST(events, belong_to_one_command) {
    const queue q(device_with_threads(1));
    const event done;
    device_hold hold(q.device());
    const kernel k(1, 1, idle);
    q.submit(k, {}, done);
    EXPECT_EQ(q.try_submit(&k, {}, done), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(bs_event_signal(done, BS_SUCCESS), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(q.try_submit(&k, {done}, done), BS_ERROR_INVALID_ARGUMENT);
    const bs_event_handle_t nobody = nullptr;
    EXPECT_EQ(q.try_submit(&k, {nobody}), BS_ERROR_INVALID_ARGUMENT);
    hold.release();
    EXPECT_EQ(done.wait(), BS_SUCCESS);
}

TEST(events, one_destroyed_before_completion_fails_what_waits_for_it) {
    const queue q(device_with_threads(1));
    const event done;
    bs_event_handle_t lost = nullptr;
    check(bs_event_create(&lost));
    const kernel k(1, 1, idle);
    q.submit(k, {lost}, done);
    check(bs_event_retain(lost));
    check(bs_event_destroy(lost));
    EXPECT_EQ(done.query(), BS_NOT_READY);
    check(bs_event_destroy(lost));
    EXPECT_EQ(done.wait(), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_THAT(bs_last_error(), HasSubstr("destroyed before it had completed"));
}

TEST(wait_lists, hold_a_command_until_the_last_event) {
    const queue q(device_with_threads(2));
    const event first;
    const event second;
    const event done;
    std::atomic<bool> ran = false;
    const kernel k(1, 1, [&](const bs_work_item_t&, void*) { ran = true; });
    q.submit(k, {first, second, first}, done);
    check(bs_event_signal(first, BS_SUCCESS));
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(ran);
    check(bs_event_signal(second, BS_SUCCESS));
    EXPECT_EQ(done.wait(), BS_SUCCESS);
    EXPECT_TRUE(ran);
}

TEST(wait_lists, carry_failures_on_and_commands_after_them_do_not_run) {
    const queue q(device_with_threads(2));
    std::atomic<int> ran = 0;
    const event failed;
    const event marker;
    const event last;
    const kernel thrower(
        1, 1, [](const bs_work_item_t&, void*) { throw std::runtime_error("broken"); }, 0, "origin");
    const kernel counter(1, 1, [&](const bs_work_item_t&, void*) { ++ran; });
    q.submit(thrower, {}, failed);
    check(q.try_submit(nullptr, {failed}, marker));
    q.submit(counter, {marker}, last);
    callback_log log;
    log.listen(last, 1);
    EXPECT_EQ(last.wait(), BS_ERROR_KERNEL_FAILED);
    log.wait_for(1);
    EXPECT_EQ(log.status, BS_ERROR_KERNEL_FAILED);
    EXPECT_THAT(log.message, HasSubstr("kernel origin, group 0: work-item 0 threw: broken"));
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(bs_command_queue_synchronize(q), BS_SUCCESS);
}

TEST(in_order_queues, start_each_command_after_the_one_before) {
    const queue q(device_with_threads(4), true);
    int value = 0; // unprotected: the order is the protection
    constexpr int n_commands = 500;
    std::vector<int> seen;
    const kernel k(1, 1, [&](const bs_work_item_t&, void*) { seen.push_back(value++); });
    const kernel thrower(1, 1, [](const bs_work_item_t&, void*) { throw std::runtime_error("passing"); });
    for (int i = 0; i < n_commands; ++i) {
        q.submit(i % 7 == 3 ? thrower : k); // a failure does not fail what merely follows
    }
    check(bs_command_queue_synchronize(q));
    EXPECT_EQ(value, n_commands - (n_commands + 3) / 7);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(out_of_order_queues, let_commands_overlap) {
    const queue q(device_with_threads(2));
    std::atomic<int> arrived = 0;
    std::atomic<bool> together = true;
    const kernel k(1, 1, [&](const bs_work_item_t&, void*) {
        ++arrived;
        if (!within_20_seconds([&] { return arrived == 2; })) {
            together = false;
        }
    });
    q.submit(k);
    q.submit(k);
    check(bs_command_queue_synchronize(q));
    EXPECT_TRUE(together) << "two commands of one group each must run side by side on two threads";
}

TEST(holds, stop_commands_from_starting_until_the_last_release_but_not_from_going_on) {
    const queue q(device_with_threads(2));
    std::atomic<bool> go = false;
    std::atomic<int> started = 0;
    std::atomic<int> groups = 0;
    const event done;
    const kernel k(50, 1, [&](const bs_work_item_t&, void*) {
        ++started;
        within_20_seconds([&] { return go.load(); });
        ++groups;
    });
    {
        const device_hold outer(q.device());
        {
            const device_hold inner(q.device());
            q.submit(k, {}, done);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(started, 0);
    }
    EXPECT_TRUE(within_20_seconds([&] { return started > 0; }));
    {
        const device_hold late(q.device());
        go = true;
        EXPECT_EQ(done.wait(), BS_SUCCESS);
        EXPECT_EQ(groups, 50);
    }
    EXPECT_EQ(bs_device_release(q.device()), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "the device is not held");
}

TEST(delays, make_kernels_slow_and_nothing_else) {
    const queue q(add_device(desc_with(4, 2, 50000)));
    const auto time_of = [&](const kernel* k) {
        const event done;
        const auto start = std::chrono::steady_clock::now();
        check(q.try_submit(k, {}, done));
        check(done.wait());
        return std::chrono::steady_clock::now() - start;
    };
    const kernel k(3, 2, idle);
    EXPECT_GE(time_of(&k), std::chrono::milliseconds(50));
    EXPECT_LT(time_of(nullptr), std::chrono::milliseconds(50));
}

TEST(transfers, copy_and_fill_whole_ranges_on_the_workers) {
    const queue q(device_with_threads(2), true);
    constexpr std::size_t n = 700001; // several pieces and a rest
    std::vector<unsigned char> source(n);
    for (std::size_t i = 0; i < n; ++i) {
        source[i] = static_cast<unsigned char>(i * 31 + i / 256);
    }
    std::vector<unsigned char> target(n + 1, 0xee);
    const auto run = [&](const bs_command_t& command) {
        check(bs_command_queue_submit(q, &command));
        check(bs_command_queue_synchronize(q));
    };
    bs_command_t command{};
    command.copy = {target.data(), source.data(), n};
    run(command);
    EXPECT_EQ(std::memcmp(target.data(), source.data(), n), 0);
    EXPECT_EQ(target[n], 0xee);
    command.copy = {target.data() + 1, target.data(), n}; // overlapping
    run(command);
    EXPECT_EQ(std::memcmp(target.data() + 1, source.data(), n), 0);
    for (const std::size_t width : {1u, 2u, 4u, 8u, 16u}) {
        command = {};
        command.fill.target = target.data();
        command.fill.pattern_bytes = width;
        command.fill.count = (n - 1) / width;
        std::iota(command.fill.pattern, command.fill.pattern + 16, static_cast<unsigned char>(width));
        const std::size_t end = command.fill.count * width;
        target[end] = 0xee;
        run(command);
        for (std::size_t i = 0; i < end; ++i) {
            ASSERT_EQ(target[i], width + i % width) << "byte " << i << " of pattern of " << width;
        }
        EXPECT_EQ(target[end], 0xee);
    }
}

TEST(commands, malformed_ones_are_refused) {
    const queue q(device_with_threads(1));
    char memory[16] = {};
    const kernel k(1, 1, idle);
    bs_kernel_t blank = *k.get();
    blank.run_item = nullptr;
    bs_command_t two{}, no_source{}, odd_pattern{}, no_waits{}, no_body{};
    two.kernel = k.get();
    two.copy.target = memory;
    no_source.copy = {memory, nullptr, 1};
    odd_pattern.fill.target = memory;
    odd_pattern.fill.pattern_bytes = 3;
    no_waits.n_waits = 1;
    no_body.kernel = &blank;
    const std::pair<const bs_command_t*, const char*> cases[] = {{&two, "not 2 of them"},
                                                                 {&no_source, "source of the copy is null"},
                                                                 {&odd_pattern, "pattern_bytes is 3"},
                                                                 {&no_waits, "waits is null"},
                                                                 {&no_body, "run_item is null"}};
    for (const auto& [command, words] : cases) {
        EXPECT_EQ(bs_command_queue_submit(q, command), BS_ERROR_INVALID_ARGUMENT);
        EXPECT_THAT(bs_last_error(), HasSubstr(words));
    }
}

TEST(command_lists, run_what_is_appended) {
    const queue on(device_with_threads(2));
    bs_command_list_handle_t list = nullptr;
    check(bs_command_list_create_immediate(on.context(), on.device(), 1, &list));
    bs_context_handle_t context = nullptr;
    bs_device_handle_t device = nullptr;
    check(bs_command_list_get_context(list, &context, &device));
    EXPECT_EQ(context, on.context());
    EXPECT_EQ(device, on.device());
    int target = 0;
    const int source = 7;
    bs_command_t command{};
    command.copy = {&target, &source, sizeof source};
    check(bs_command_list_append(list, &command));
    check(bs_command_list_synchronize(list));
    EXPECT_EQ(target, 7);
    check(bs_command_list_destroy(list));
}

TEST(destruction, of_a_queue_waits_for_its_commands) {
    std::atomic<int> ran = 0;
    const kernel k(8, 4, [&](const bs_work_item_t& item, void*) {
        bs_group_barrier(&item);
        ++ran;
    });
    {
        const queue q(device_with_threads(2));
        for (int i = 0; i < 50; ++i) {
            q.submit(k);
        }
    }
    EXPECT_EQ(ran, 50 * 32);
}

TEST(destruction, of_a_queue_in_a_callback_of_its_last_command) {
    struct owner {
        bs_context_handle_t context = nullptr;
        bs_command_queue_handle_t queue = nullptr;
        std::atomic<bool> gone{false};
    } o;
    const bs_device_handle_t device = device_with_threads(1);
    check(bs_context_create(platform(), 1, &device, &o.context));
    check(bs_command_queue_create(o.context, device, 1, &o.queue));
    device_hold hold(device);
    bs_event_handle_t done = nullptr;
    check(bs_event_create(&done));
    const kernel k(1, 1, idle);
    bs_command_t command{};
    command.kernel = k.get();
    command.signal = done;
    check(bs_command_queue_submit(o.queue, &command));
    check(bs_event_set_callback(
        done,
        [](void* user, bs_result_t, const char*) {
            auto* self = static_cast<owner*>(user);
            EXPECT_EQ(bs_command_queue_destroy(self->queue), BS_SUCCESS);
            self->gone = true;
        },
        &o));
    check(bs_event_destroy(done));
    hold.release();
    ASSERT_TRUE(within_20_seconds([&] { return o.gone.load(); }));
    check(bs_context_destroy(o.context));
}

TEST(threads, eight_submit_to_one_device) {
    const queue shared(device_with_threads(4));
    constexpr int n_threads = 8;
    constexpr int n_chains = 40;
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < n_threads; ++t) {
        threads.emplace_back([&, t] {
            const queue own(device_with_threads(2), true);
            for (int chain = 0; chain < n_chains; ++chain) {
                // written on one device, summed on the other, added to on the first: ordered by events alone
                std::vector<double> data(64);
                double sum = 0;
                const event written;
                const event summed;
                const event done;
                const kernel write(4, 16, [&](const bs_work_item_t& item, void*) {
                    data[item.group_id * 16 + item.local_id] = t + chain;
                });
                const kernel add(1, 64, [&](const bs_work_item_t& item, void*) {
                    const double s = group_sum(item, data[item.local_id]);
                    if (item.local_id == 0) {
                        sum = s;
                    }
                });
                const kernel finish(1, 1, [&](const bs_work_item_t&, void*) { sum += 1; });
                shared.submit(write, {}, written);
                own.submit(add, {written}, summed);
                shared.submit(finish, {summed}, done);
                wrong += done.wait() != BS_SUCCESS || sum != 64 * (t + chain) + 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
