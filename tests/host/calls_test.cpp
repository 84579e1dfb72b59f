#include "failing_allocation.hpp"
#include "recording_component.hpp"

#include <stats/make_partials.hpp>
#include <stats/stats.hpp>
#include <support/devices.hpp>

#include <sycl/sycl.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <future>

// What the library asks of the component, call by call, for every form of every estimate.

namespace {

namespace stats = aurelo::qtx::stats;
using stats::layout;
using stats::method;
using testing::ElementsAre;
using calls = std::vector<std::string>;
using buffer = sycl::buffer<double, 1>;

constexpr auto rows = layout::by_dimension;

sycl::queue& cpu() {
    static sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    return queue;
}

/// Arguments of a call in one form; `out` is an output of two elements, `none` an absent one.
template <typename Array>
struct arguments {
    stats::dataset<rows, Array> data;
    Array out;
    Array none;
};

/// The calls between "new" and "delete", which are the same for all.
template <typename Array, typename Call>
calls calls_of(arguments<Array> x, const Call& call) {
    call(x);
    cpu().wait();
    const calls all = test::component::take_calls();
    EXPECT_GE(all.size(), 2U);
    EXPECT_EQ(all.front(), "new double 2x3 65536 p--");
    EXPECT_EQ(all.back(), "delete");
    return {all.begin() + 1, all.end() - 1};
}

template <typename Call>
void expect_calls(const Call& call, const calls& on_buffers, const calls& on_pointers) {
    using of_buffers = arguments<buffer>;
    const stats::dataset<rows, buffer> in_buffers{2, 3, buffer(sycl::range<1>(6))};
    EXPECT_EQ(calls_of(of_buffers{in_buffers, buffer(sycl::range<1>(2)), buffer(sycl::range<1>(0))}, call),
              on_buffers);
    double memory[8] = {};
    const stats::dataset<rows, double*> in_memory{2, 3, memory};
    EXPECT_EQ(calls_of(arguments<double*>{in_memory, memory + 6, nullptr}, call), on_pointers);
}

template <typename Call>
void expect_calls(const Call& call, const calls& in_both) {
    expect_calls(call, in_both, in_both);
}

#define ON(...) [](auto& x) { stats::__VA_ARGS__; }

} // namespace

TEST(component_calls, extrema_and_mean) {
    expect_calls(ON(max(cpu(), x.data, x.out)), {"edit 17 p", "compute 2048 1"});
    expect_calls(ON(min(cpu(), x.data, x.out)), {"edit 16 p", "compute 1024 1"});
    expect_calls(ON(min_max(cpu(), x.data, x.out, x.out)), {"edit 16 p", "edit 17 p", "compute 3072 1"});
    expect_calls(ON(mean(cpu(), x.data, x.out)), {"edit 7 p", "compute 1 1"});
    expect_calls(ON(mean<method::standard>(cpu(), x.data, x.out)), {"edit 7 p", "compute 1 1"});
}

TEST(component_calls, raw_sums_and_moments_ask_for_the_orders_that_are_there) {
    expect_calls(ON(raw_sum(cpu(), x.data, x.out, x.out, x.out, x.out)),
                 {"sums pppp---", "compute 503316480 1"});
    expect_calls(ON(raw_sum(cpu(), x.data, x.out, x.none, x.none, x.none)),
                 {"sums p------", "compute 33554432 1"});
    expect_calls(ON(raw_sum(cpu(), x.data, x.out, x.none, x.out, x.none)),
                 {"sums p-p----", "compute 167772160 1"});
    expect_calls(ON(raw_moment(cpu(), x.data, x.out, x.out, x.none, x.out)),
                 {"moments pp-p---", "compute 11 1"});
    expect_calls(ON(raw_moment<method::standard>(cpu(), x.data, x.out, x.out, x.out, x.out)),
                 {"moments pppp---", "compute 15 1"});
}

TEST(component_calls, central_sums) {
    expect_calls(ON(central_sum(cpu(), x.data, x.out, x.out, x.out)),
                 {"moments pppp---", "sums ----ppp", "compute 3758096384 1"},
                 {"moments pppp---", "sums ----ppp", "compute 3758096384 2"});
    expect_calls(ON(central_sum(cpu(), x.data, x.out, x.none, x.out)),
                 {"moments pppp---", "sums ----ppp", "compute 2684354560 1"},
                 {"moments pp-p---", "sums ----p-p", "compute 2684354560 2"});
    expect_calls(ON(central_sum(cpu(), x.data, x.out, x.none, x.none)),
                 {"moments pp-----", "sums ----p--", "compute 536870912 1"},
                 {"moments pp-----", "sums ----p--", "compute 536870912 2"});
    expect_calls(ON(central_sum<method::standard>(cpu(), x.data, x.out, x.out, x.none)),
                 {"edit 7 p", "sums ----pp-", "compute 1610612736 2"});
    expect_calls(ON(central_sum(cpu(), x.out, x.data, x.out, x.none, x.none)),
                 {"edit 7 p", "sums ----p--", "compute 536870912 256"});
}

TEST(component_calls, central_moments) {
    expect_calls(ON(central_moment(cpu(), x.data, x.out, x.none, x.out)), {"moments ppppp-p", "compute 80 1"},
                 {"moments pp-pp-p", "compute 80 1"});
    expect_calls(ON(central_moment(cpu(), x.data, x.out, x.out, x.none)),
                 {"moments ppp-pp-", "compute 48 1"});
    expect_calls(ON(central_moment<method::standard>(cpu(), x.data, x.out, x.out, x.out)),
                 {"moments ppppppp", "compute 112 2"});
    expect_calls(ON(central_moment(cpu(), x.out, x.data, x.out, x.none, x.none)),
                 {"moments pp--p--", "compute 16 256"});
}

TEST(component_calls, shapes) {
    expect_calls(ON(variation(cpu(), x.data, x.out)), {"moments pp--p--", "edit 18 p", "compute 512 1"});
    expect_calls(ON(skewness(cpu(), x.data, x.out)), {"moments ppp-pp-", "edit 15 p", "compute 256 1"});
    expect_calls(ON(kurtosis<method::standard>(cpu(), x.data, x.out)),
                 {"moments ppppp-p", "edit 14 p", "compute 128 1"});
    expect_calls(ON(variation(cpu(), x.out, x.data, x.out)),
                 {"moments pp--p--", "edit 18 p", "compute 512 256"});
    expect_calls(ON(skewness(cpu(), x.out, x.data, x.out)),
                 {"moments ppp-pp-", "edit 15 p", "compute 256 256"});
    expect_calls(ON(kurtosis(cpu(), x.out, x.data, x.out)),
                 {"moments ppppp-p", "edit 14 p", "compute 128 256"});
}

TEST(component_calls, a_task_gets_the_weights_and_the_mask_that_are_there) {
    sycl::buffer<float, 1> x(sycl::range<1>(6)), out(sycl::range<1>(2));
    for (const std::size_t n_weights : {0UL, 3UL}) {
        for (const std::size_t n_mask : {0UL, 2UL}) {
            const stats::dataset<layout::by_observation, sycl::buffer<float, 1>> data{
                2, 3, x, sycl::buffer<float, 1>(sycl::range<1>(n_weights)),
                sycl::buffer<std::int64_t, 1>(sycl::range<1>(n_mask))};
            stats::mean(cpu(), data, out);
            cpu().wait();
            EXPECT_EQ(test::component::take_calls().front(),
                      std::string("new float 2x3 131072 p") + (n_weights ? "p" : "-") + (n_mask ? "p" : "-"));
        }
    }
    float values[2] = {};
    std::int64_t one = 1;
    const stats::dataset<rows, float*> pointers{1, 2, values, nullptr, &one};
    stats::mean(cpu(), pointers, values).wait();
    EXPECT_EQ(test::component::take_calls().front(), "new float 1x2 65536 p-p");
}

TEST(component_failures, every_failing_step_reaches_the_handler_and_the_task_is_deleted) {
    for (const std::string word : {"new", "moments", "edit", "compute", "delete"}) {
        for (const std::int32_t status : {-4001, 1}) {
            std::vector<std::string> messages;
            sycl::queue queue(sycl::device(sycl::cpu_selector_v), [&](const sycl::exception_list& errors) {
                for (const auto& each : errors) {
                    try {
                        std::rethrow_exception(each);
                    } catch (const aurelo::qtx::computation_error& error) {
                        messages.push_back(error.what());
                    }
                }
            });
            test::component::fail_at(word, status);
            buffer x(sycl::range<1>(6));
            buffer out(sycl::range<1>(2));
            stats::kurtosis(queue, stats::dataset<rows, buffer>{2, 3, x}, out);
            queue.wait_and_throw();
            EXPECT_THAT(messages, ElementsAre("aurelo::qtx::stats: computation error"))
                << word << " " << status;
            EXPECT_EQ(test::component::live_tasks(), 0) << word;
            const auto all = test::component::take_calls();
            const bool computed = testing::Value(all, testing::Contains(testing::StartsWith("compute")));
            EXPECT_EQ(computed, word == "compute" || word == "delete") << word;
        }
    }
}

TEST(component_failures, a_call_that_waits_is_complete_and_its_error_goes_to_the_handler) {
    int errors = 0;
    sycl::queue queue(sycl::device(sycl::cpu_selector_v),
                      [&](const sycl::exception_list& list) { errors += int(list.size()); });
    const int before = test::live_allocations();
    double memory[8] = {};
    test::component::fail_at("compute", -4020);
    sycl::event done = stats::variation(queue, stats::dataset<rows, double*>{2, 3, memory}, memory + 6);
    EXPECT_EQ(done.get_info<sycl::info::event::command_execution_status>(),
              sycl::info::event_command_status::complete);
    EXPECT_EQ(errors, 0);
    done.wait_and_throw();
    EXPECT_EQ(errors, 1);
    EXPECT_EQ(test::live_allocations(), before);
    test::component::take_calls();
}

namespace {

struct scratch_case {
    const char* name;
    int allocations;
    sycl::event (*call)(stats::dataset<rows, double*>&, double*);
};

#define SCRATCH(N, NAME, ...)                                                                                \
    {                                                                                                        \
#NAME, N, [](auto& data, double* out) { return stats::NAME(cpu(), __VA_ARGS__); }                    \
    }
constexpr double* none = nullptr;
const scratch_case scratch_cases[] = {
    SCRATCH(3, variation, data, out),
    SCRATCH(2, variation, out, data, out),
    SCRATCH(5, skewness, data, out),
    SCRATCH(4, skewness, out, data, out),
    SCRATCH(6, kurtosis, data, out),
    SCRATCH(5, kurtosis, out, data, out),
    SCRATCH(4, central_sum, data, out, out, out),
    SCRATCH(2, central_sum, data, out, none, none),
    SCRATCH(4, central_moment, data, out, out, out),
    SCRATCH(3, central_moment, out, data, out, out, out),
    {"central_sum", 1,
     [](auto& data, double* out) {
         return stats::central_sum<method::standard>(cpu(), data, out, out, out);
     }},
};

} // namespace

TEST(scratch_failures, each_allocation_may_fail_and_nothing_is_lost_or_submitted) {
    double memory[8] = {};
    stats::dataset<rows, double*> data{2, 3, memory};
    const auto name = cpu().get_device().get_info<sycl::info::device::name>();
    for (const auto& each : scratch_cases) {
        SCOPED_TRACE(each.name);
        const int before = test::live_allocations();
        for (int sound = 0; sound < each.allocations; ++sound) {
            test::take_tried_allocations();
            test::fail_allocation_after(sound);
            try {
                each.call(data, memory + 6);
                ADD_FAILURE() << "no exception with allocation " << sound << " failing";
            } catch (const aurelo::qtx::device_bad_alloc& error) {
                EXPECT_EQ(error.what(), std::string("aurelo::qtx::stats::") + each.name +
                                            ": cannot allocate memory on " + name);
            }
            test::fail_allocation_after(-1);
            EXPECT_EQ(test::take_tried_allocations(), each.allocations)
                << "all are tried before any is tested";
            EXPECT_EQ(test::live_allocations(), before);
            EXPECT_TRUE(test::component::take_calls().empty());
        }
        each.call(data, memory + 6).wait();
        EXPECT_EQ(test::live_allocations(), before);
        EXPECT_FALSE(test::component::take_calls().empty());
    }
}

TEST(partials, of_failed_commands_are_no_numbers) {
    double memory[6] = {1, 2, 3, 4, 5, 6};
    for (const bool on_pointers : {false, true}) {
        int errors = 0;
        sycl::queue queue(cpu().get_device(),
                          [&](const sycl::exception_list& list) { errors += int(list.size()); });
        test::component::fail_at("compute", -4020);
        const auto made =
            on_pointers
                ? stats::make_partials(queue, stats::dataset<rows, double*>{2, 3, memory})
                : stats::make_partials(queue, stats::dataset<rows, buffer>{2, 3, buffer(memory, memory + 6)});
        EXPECT_EQ(errors, 1);
        for (const stats::partial& p : made) {
            for (const double result : {p.mean, p.min, p.max, p.central_sum[0], p.central_sum[1],
                                        p.central_sum[2], p.raw_sum[0], p.raw_sum[3]}) {
                EXPECT_TRUE(std::isnan(result)) << result;
            }
        }
        test::component::take_calls();
    }
}

// Sums are on their way to the arrays of the call when the scratch of the next estimate fails.
TEST(partials, are_freed_when_no_command_stores_into_them_any_more) {
    const sycl::device device = test::gpu_with_limit(4);
    sycl::queue queue(device);
    std::vector<double> values(100, 1);
    const stats::dataset<rows, double*> data{1, 100, values.data()};
    std::string message;
    for (int sound = 0; sound < 100 && message.find("min_max") == std::string::npos; ++sound) {
        const int before = test::live_allocations();
        test::held hold(device);
        test::fail_allocation_after(sound);
        auto call = std::async(std::launch::async, [&] { stats::make_partials(queue, data); });
        const bool waits = call.wait_for(std::chrono::milliseconds(5)) == std::future_status::timeout;
        hold.release();
        try {
            call.get();
            test::fail_allocation_after(-1);
            break;
        } catch (const std::exception& error) {
            message = error.what();
        }
        test::fail_allocation_after(-1);
        EXPECT_EQ(test::live_allocations(), before) << message;
        if (message.find("min_max") != std::string::npos) {
            EXPECT_TRUE(waits) << message;
        }
    }
    EXPECT_THAT(message, testing::HasSubstr("min_max: cannot allocate memory"));
}
