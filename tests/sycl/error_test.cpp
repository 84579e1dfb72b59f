#include "devices.hpp"

#include <stdexcept>

namespace {

/// A handler that keeps the messages it is given.
struct recorder {
    std::shared_ptr<std::vector<std::string>> messages = std::make_shared<std::vector<std::string>>();

    void operator()(const sycl::exception_list& errors) const {
        for (const auto& each : errors) {
            try {
                std::rethrow_exception(each);
            } catch (const std::exception& known) {
                messages->push_back(known.what());
            }
        }
    }
};

void rethrow_first(const sycl::exception_list& errors) {
    std::rethrow_exception(*errors.begin());
}

template <typename Queue>
sycl::event submit_failing_task(Queue& queue, const std::string& words) {
    return queue.submit(
        [&](sycl::handler& group) { group.host_task([words] { throw std::runtime_error(words); }); });
}

} // namespace

class errors : public test::on_every_device {};
ON_EVERY_DEVICE(errors);

TEST_P(errors, a_failed_host_task_reaches_the_handler_of_its_queue_once) {
    const recorder seen;
    sycl::queue failing(GetParam(), seen);
    auto event = submit_failing_task(failing, "broken");
    event.wait();
    EXPECT_TRUE(test::complete(event));
    EXPECT_TRUE(seen.messages->empty()) << "wait() alone reports nothing";
    event.wait_and_throw();
    event.wait_and_throw();
    EXPECT_EQ(*seen.messages, std::vector<std::string>{"broken"});
}

TEST_P(errors, a_throwing_kernel_is_an_error_of_its_queue) {
    const recorder seen;
    sycl::queue failing(GetParam(), seen);
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
    sycl::queue failing(GetParam(), rethrow_first);
    const std::vector<sycl::event> events{submit_failing_task(failing, "from below")};
    try {
        sycl::event::wait_and_throw(events);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "from below");
    }
}

TEST_P(errors, a_context_handles_what_its_queue_does_not) {
    const recorder seen;
    sycl::queue failing(sycl::context(GetParam(), seen), GetParam());
    submit_failing_task(failing, "for the context");
    failing.wait_and_throw();
    EXPECT_EQ(*seen.messages, std::vector<std::string>{"for the context"});
}

TEST_P(errors, a_command_whose_dependency_failed_does_not_run) {
    const recorder seen;
    sycl::queue failing(GetParam(), seen);
    bool ran = false;
    const auto first = submit_failing_task(failing, "first cause");
    failing.submit([&](sycl::handler& group) {
        group.depends_on(first);
        group.host_task([&] { ran = true; });
    });
    failing.wait_and_throw();
    EXPECT_FALSE(ran);
    ASSERT_EQ(seen.messages->size(), 2U);
    EXPECT_NE(seen.messages->back().find("first cause"), std::string::npos) << seen.messages->back();
}

TEST_P(errors, a_failed_writer_does_not_poison_its_buffer) {
    const recorder seen;
    sycl::queue failing(GetParam(), seen);
    sycl::buffer<int, 1> data{sycl::range<1>(1)};
    failing.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::read_write);
        group.host_task([=] {
            target[0] = 1;
            throw std::runtime_error("half way");
        });
    });
    failing.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::read_write);
        group.single_task([=] { target[0] = 8; });
    });
    EXPECT_EQ(sycl::host_accessor(data)[0], 8);
    failing.wait_and_throw();
    EXPECT_EQ(*seen.messages, std::vector<std::string>{"half way"});
}

TEST_P(errors, the_last_handle_of_a_queue_reports_what_nobody_asked_for) {
    const recorder seen;
    {
        sycl::queue failing(GetParam(), seen);
        submit_failing_task(failing, "left over").wait();
        failing.wait();
    }
    EXPECT_EQ(*seen.messages, std::vector<std::string>{"left over"});
}

TEST_P(errors, a_throwing_command_group_submits_nothing) {
    EXPECT_THROW(queue.submit([](sycl::handler&) { throw std::logic_error("no"); }), std::logic_error);
    queue.wait();
}

TEST_P(errors, launches_beyond_the_limits_are_refused_with_the_limit) {
    const auto limit = GetParam().get_info<sycl::info::device::max_work_group_size>();
    const auto launch = [&](std::size_t global, std::size_t local) {
        queue.parallel_for(sycl::nd_range<1>(global, local), [](sycl::nd_item<1>) {});
    };
    auto message = test::message_of(sycl::errc::nd_range, [&] { launch(std::size_t{1} << 31, 1); });
    EXPECT_NE(message.find("2147483648"), std::string::npos) << message;
    message = test::message_of(sycl::errc::nd_range, [&] { launch(10, 3); });
    EXPECT_NE(message.find("10 is no multiple of the local size 3"), std::string::npos) << message;
    test::message_of(sycl::errc::nd_range, [&] { launch(10, 0); });
    message = test::message_of(sycl::errc::nd_range, [&] { launch(2 * (limit + 1), limit + 1); });
    EXPECT_NE(message.find(std::to_string(limit)), std::string::npos) << message;
    message = test::message_of(sycl::errc::memory_allocation, [&] {
        queue.submit([](sycl::handler& group) {
            const sycl::local_accessor<double, 1> tile(std::size_t{1} << 30, group);
            group.parallel_for(sycl::nd_range<1>(1, 1), [=](sycl::nd_item<1>) { tile[0] = 0; });
        });
    });
    EXPECT_NE(message.find("8589934592"), std::string::npos) << message;
}

TEST_P(errors, misused_arguments_are_refused) {
    test::message_of(sycl::errc::invalid, [&] { queue.memcpy(nullptr, &queue, 4); });
    test::message_of(sycl::errc::invalid, [&] { queue.fill<int>(nullptr, 1, 4); });
    test::message_of(sycl::errc::invalid, [&] {
        (void)sycl::aligned_malloc(3, 8, GetParam(), queue.get_context(), sycl::usm::alloc::device);
    });
    test::message_of(sycl::errc::invalid, [&] { sycl::queue(queue.get_context(), test::gpu_with_limit(2)); });
    test::message_of(sycl::errc::invalid, [&] { sycl::context(std::vector<sycl::device>{}); });
}

template <typename T>
struct typed_kernel {
    using element_type = T;
    T* target;
    void operator()(sycl::nd_item<1>) const { *target = 1; }
};

TEST(errors_of_devices, a_device_without_fp64_runs_float_and_refuses_double) {
    auto desc = test::described();
    desc.fp64 = 0;
    sycl::queue queue(test::software_gpu(desc));
    EXPECT_FALSE(queue.get_device().has(sycl::aspect::fp64));
    float* const value = sycl::malloc_shared<float>(1, queue);
    queue.parallel_for(sycl::nd_range<1>(1, 1), typed_kernel<float>{value}).wait();
    EXPECT_EQ(*value, 1);
    double target = 0;
    const auto message = test::message_of(sycl::errc::kernel_not_supported, [&] {
        queue.parallel_for(sycl::nd_range<1>(1, 1), typed_kernel<double>{&target});
    });
    EXPECT_NE(message.find("typed_kernel<double>"), std::string::npos) << message;
    sycl::free(value, queue);
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

TEST(error_codes, are_of_the_sycl_category) {
    const sycl::exception error(sycl::errc::nd_range, "words");
    EXPECT_EQ(error.code(), sycl::errc::nd_range);
    EXPECT_STREQ(error.category().name(), "sycl");
    EXPECT_FALSE(error.has_context());
    EXPECT_THROW((void)error.get_context(), sycl::exception);
    EXPECT_STREQ(sycl::exception(sycl::make_error_code(sycl::errc::build)).what(), "kernel cannot be built");
}
