#include "devices.hpp"

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>

using test::expect_refused;

namespace {

using words = std::vector<std::string>;

sycl::event submit_failing_task(sycl::queue& queue, const std::string& text) {
    return test::in_host_task(queue, [text] { throw std::runtime_error(text); });
}

} // namespace

class errors : public test::on_every_device {
protected:
    test::recorder seen;
    sycl::queue failing{GetParam(), seen};
};
ON_EVERY_DEVICE(errors);

TEST_P(errors, a_failed_host_task_reaches_the_handler_of_its_queue_once) {
    auto event = submit_failing_task(failing, "broken");
    event.wait();
    EXPECT_TRUE(test::complete(event));
    EXPECT_TRUE(seen.messages->empty()) << "wait() alone reports nothing";
    event.wait_and_throw();
    event.wait_and_throw();
    EXPECT_EQ(*seen.messages, words{"broken"});
}

TEST_P(errors, a_throwing_kernel_is_an_error_of_its_queue) {
    failing.parallel_for(sycl::nd_range<1>(8, 4), [](sycl::nd_item<1> item) {
        if (item.get_global_id(0) == 5) {
            throw std::runtime_error("kernel trouble");
        }
    });
    failing.wait_and_throw();
    ASSERT_EQ(seen.messages->size(), 1U);
    EXPECT_NE(seen.messages->front().find("kernel trouble"), std::string::npos) << seen.messages->front();
}

TEST_P(errors, what_a_handler_throws_leaves_the_static_wait) {
    sycl::queue throwing(GetParam(),
                         [](const sycl::exception_list& all) { std::rethrow_exception(*all.begin()); });
    const std::vector<sycl::event> events{submit_failing_task(throwing, "from below")};
    try {
        sycl::event::wait_and_throw(events);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "from below");
    }
}

TEST_P(errors, a_context_handles_what_its_queue_does_not) {
    sycl::queue without(sycl::context(GetParam(), seen), GetParam());
    submit_failing_task(without, "for the context");
    without.wait_and_throw();
    EXPECT_EQ(*seen.messages, words{"for the context"});
}

TEST_P(errors, a_command_whose_dependency_failed_does_not_run) {
    bool ran = false;
    const auto first = submit_failing_task(failing, "first cause");
    test::in_host_task(failing, [&] { ran = true; }, {first});
    failing.wait_and_throw();
    EXPECT_FALSE(ran);
    ASSERT_EQ(seen.messages->size(), 2U);
    EXPECT_NE(seen.messages->back().find("first cause"), std::string::npos) << seen.messages->back();
}

TEST_P(errors, a_failed_writer_does_not_poison_its_buffer) {
    test::int_buffer data{sycl::range<1>(1)};
    failing.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::read_write);
        group.host_task([=] {
            target[0] = 1;
            throw std::runtime_error("half way");
        });
    });
    test::in_kernel(failing, data, [](int& x) { x = 8; });
    EXPECT_EQ(test::first_of(data), 8);
    failing.wait_and_throw();
    EXPECT_EQ(*seen.messages, words{"half way"});
}

TEST_P(errors, the_last_handle_of_a_queue_reports_what_nobody_asked_for) {
    {
        sycl::queue own(GetParam(), seen);
        submit_failing_task(own, "left over").wait();
        own.wait();
    }
    EXPECT_EQ(*seen.messages, words{"left over"});
}

// Who waits for the last command may unload the code of the handler.
TEST_P(errors, a_handler_goes_before_the_last_command_counts_as_complete) {
    for (const bool on_host : {true, false}) {
        for (int i = 0; i < 500 && !HasFailure(); ++i) {
            auto state = std::make_shared<int>();
            const std::weak_ptr<int> alive = state;
            std::optional<sycl::queue> owner(std::in_place, GetParam(),
                                             [state](const sycl::exception_list&) {});
            state.reset();
            std::atomic<bool> opened = false;
            sycl::event last = test::in_host_task(*owner, [&] { opened.wait(false); });
            if (!on_host) {
                last = owner->submit([&](sycl::handler& handler) {
                    handler.depends_on(last);
                    handler.single_task([] {});
                });
            }
            owner.reset();
            opened = true;
            opened.notify_all();
            last.wait();
            EXPECT_TRUE(alive.expired()) << "round " << i << (on_host ? ", host task" : ", kernel");
        }
    }
}

TEST_P(errors, a_throwing_command_group_submits_nothing_and_two_actions_are_refused) {
    EXPECT_THROW(queue.submit([](sycl::handler&) { throw std::logic_error("no"); }), std::logic_error);
    expect_refused(sycl::errc::invalid, "", [&] {
        queue.submit([](sycl::handler& group) {
            group.single_task([] {});
            group.single_task([] {});
        });
    });
    queue.wait();
}

TEST_P(errors, launches_beyond_the_limits_are_refused_with_the_limit) {
    const auto limit = test::limit_of(GetParam());
    const std::tuple<std::size_t, std::size_t, std::string> cases[] = {
        {std::size_t{1} << 31, 1, "2147483648"},
        {10, 3, "10 is no multiple of the local size 3"},
        {10, 0, ""},
        {2 * (limit + 1), limit + 1, std::to_string(limit)}};
    for (const auto& [global, local, text] : cases) {
        expect_refused(sycl::errc::nd_range, text, [&, global = global, local = local] {
            queue.parallel_for(sycl::nd_range<1>(global, local), [](sycl::nd_item<1>) {});
        });
    }
    // The second size in bytes, and the sum of the third, are 0 if they wrap around.
    const std::tuple<std::size_t, std::size_t, std::string> local_memory[] = {
        {std::size_t{1} << 30, 0, "85899"}, // the address sanitizer has gaps between arrays
        {std::size_t{1} << 61, 0, "local memory"},
        {std::size_t{1} << 60, std::size_t{1} << 60, "local memory"}};
    for (const auto& [size, other, text] : local_memory) {
        expect_refused(sycl::errc::memory_allocation, text, [&, size = size, other = other] {
            queue.submit([&](sycl::handler& group) {
                const sycl::local_accessor<double, 1> first(size, group);
                const sycl::local_accessor<double, 1> last(other, group);
                group.parallel_for(sycl::nd_range<1>(1, 1),
                                   [=](sycl::nd_item<1>) { first[0] = last[0] = 0; });
            });
        });
    }
}

TEST_P(errors, misused_arguments_are_refused) {
    int value = 0;
    const std::size_t wrapping = (std::size_t{1} << 62) + 1; // by the size of an int
    const std::function<void()> cases[] = {
        [&] { queue.memcpy(nullptr, &queue, 4); },
        [&] { queue.fill<int>(nullptr, 1, 4); },
        [&] { queue.copy(&value, &value, wrapping); },
        [&] { queue.fill(&value, 1, wrapping); },
        [&] { (void)sycl::aligned_malloc(3, 8, GetParam(), queue.get_context(), sycl::usm::alloc::device); },
        [&] { sycl::queue(queue.get_context(), test::gpu_with_limit(2)); },
        [&] { sycl::context(std::vector<sycl::device>{}); }};
    for (const auto& call : cases) {
        expect_refused(sycl::errc::invalid, "", call);
    }
}

// The driver takes patterns of at most 16 bytes.
TEST_P(errors, what_the_driver_refuses_is_thrown_by_the_submission) {
    std::array<int, 8> pattern{};
    expect_refused(sycl::errc::invalid, "32 bytes", [&] { failing.fill(&pattern, pattern, 1); });
    failing.wait_and_throw();
    EXPECT_TRUE(seen.messages->empty());
}

template <typename T>
struct typed_kernel {
    using element_type = T;
    T* target;
    void operator()(sycl::nd_item<1>) const { *target = 1; }
};

TEST(errors_of_devices, a_device_without_fp64_runs_float_and_refuses_double) {
    auto desc = test::default_desc();
    desc.fp64 = 0;
    sycl::queue queue(test::add_device(desc));
    EXPECT_FALSE(queue.get_device().has(sycl::aspect::fp64));
    float value = 0;
    queue.parallel_for(sycl::nd_range<1>(1, 1), typed_kernel<float>{&value}).wait();
    EXPECT_EQ(value, 1);
    double target = 0;
    expect_refused(sycl::errc::kernel_not_supported, "typed_kernel<double>",
                   [&] { queue.parallel_for(sycl::nd_range<1>(1, 1), typed_kernel<double>{&target}); });
}

TEST(errors_without_handler_DeathTest, end_the_program_and_say_why) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            sycl::queue queue(sycl::cpu_selector_v);
            submit_failing_task(queue, "nobody listens");
            queue.wait_and_throw();
        },
        "nobody listens");
}
