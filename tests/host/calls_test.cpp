#include "failing_allocation.hpp"
#include "recording_component.hpp"

#include <stats/stats.hpp>

#include <sycl/sycl.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What the library asks of the component, call by call, for every form of every estimate.

namespace {

namespace stats = aurelo::qtx::stats;
using stats::layout;
using stats::method;
using testing::ElementsAre;
using calls = std::vector<std::string>;

constexpr auto rows = layout::by_dimension;

sycl::queue& cpu() {
    static sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    return queue;
}

/// The calls between "new" and "delete", which are the same for all.
calls of_functor(const calls& all) {
    EXPECT_GE(all.size(), 2U);
    EXPECT_EQ(all.front(), "new double 2x3 65536 p--");
    EXPECT_EQ(all.back(), "delete");
    return {all.begin() + 1, all.end() - 1};
}

/// Runs a call in the buffer form; `out(i)` is an output of two elements, `none` an absent one.
struct in_buffers {
    stats::dataset<rows, sycl::buffer<double, 1>> data{2, 3, sycl::buffer<double, 1>(sycl::range<1>(6))};
    sycl::buffer<double, 1> out{sycl::range<1>(2)};
    sycl::buffer<double, 1> none{sycl::range<1>(0)};

    template <typename Call>
    calls operator()(const Call& call) {
        call(*this);
        cpu().wait();
        return of_functor(test::component::take_calls());
    }
};

/// The same in the USM form.
struct in_usm {
    double* memory = sycl::malloc_shared<double>(8, cpu());
    stats::dataset<rows, double*> data{2, 3, memory};
    double* out = memory + 6;
    double* none = nullptr;

    in_usm() = default;
    in_usm(const in_usm&) = delete;
    in_usm& operator=(const in_usm&) = delete;
    ~in_usm() { sycl::free(memory, cpu()); }

    template <typename Call>
    calls operator()(const Call& call) {
        call(*this);
        cpu().wait();
        return of_functor(test::component::take_calls());
    }
};

/// Calls of both forms, which must be the same.
template <typename Call>
calls in_both(const Call& call) {
    const calls buffers = in_buffers()(call);
    EXPECT_EQ(in_usm()(call), buffers);
    return buffers;
}

} // namespace

TEST(component_calls, extrema_and_mean) {
    EXPECT_THAT(in_both([](auto& x) { stats::max(cpu(), x.data, x.out); }),
                ElementsAre("edit 17 p", "compute 2048 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::min(cpu(), x.data, x.out); }),
                ElementsAre("edit 16 p", "compute 1024 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::min_max(cpu(), x.data, x.out, x.out); }),
                ElementsAre("edit 16 p", "edit 17 p", "compute 3072 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::mean(cpu(), x.data, x.out); }),
                ElementsAre("edit 7 p", "compute 1 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::mean<method::standard>(cpu(), x.data, x.out); }),
                ElementsAre("edit 7 p", "compute 1 1"));
}

TEST(component_calls, raw_sums_and_moments_ask_for_the_orders_that_are_there) {
    EXPECT_THAT(in_both([](auto& x) { stats::raw_sum(cpu(), x.data, x.out, x.out, x.out, x.out); }),
                ElementsAre("sums pppp---", "compute 503316480 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::raw_sum(cpu(), x.data, x.out, x.none, x.none, x.none); }),
                ElementsAre("sums p------", "compute 33554432 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::raw_sum(cpu(), x.data, x.out, x.none, x.out, x.none); }),
                ElementsAre("sums p-p----", "compute 167772160 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::raw_moment(cpu(), x.data, x.out, x.out, x.none, x.out); }),
                ElementsAre("moments pp-p---", "compute 11 1"));
    EXPECT_THAT(in_both([](auto& x) {
                    stats::raw_moment<method::standard>(cpu(), x.data, x.out, x.out, x.out, x.out);
                }),
                ElementsAre("moments pppp---", "compute 15 1"));
}

TEST(component_calls, central_sums) {
    const auto fast = [](auto& x) { stats::central_sum(cpu(), x.data, x.out, x.out, x.out); };
    EXPECT_THAT(in_buffers()(fast), ElementsAre("moments pppp---", "sums ----ppp", "compute 3758096384 1"));
    EXPECT_THAT(in_usm()(fast), ElementsAre("moments pppp---", "sums ----ppp", "compute 3758096384 2"));

    const auto order4 = [](auto& x) { stats::central_sum(cpu(), x.data, x.out, x.none, x.out); };
    EXPECT_THAT(in_buffers()(order4), ElementsAre("moments pppp---", "sums ----ppp", "compute 2684354560 1"));
    EXPECT_THAT(in_usm()(order4), ElementsAre("moments pp-p---", "sums ----p-p", "compute 2684354560 2"));

    const auto order2 = [](auto& x) { stats::central_sum(cpu(), x.data, x.out, x.none, x.none); };
    EXPECT_THAT(in_buffers()(order2), ElementsAre("moments pp-----", "sums ----p--", "compute 536870912 1"));

    EXPECT_THAT(
        in_both([](auto& x) { stats::central_sum<method::standard>(cpu(), x.data, x.out, x.out, x.none); }),
        ElementsAre("edit 7 p", "sums ----pp-", "compute 1610612736 2"));
    EXPECT_THAT(in_both([](auto& x) { stats::central_sum(cpu(), x.out, x.data, x.out, x.none, x.none); }),
                ElementsAre("edit 7 p", "sums ----p--", "compute 536870912 256"));
}

TEST(component_calls, central_moments) {
    const auto order4 = [](auto& x) { stats::central_moment(cpu(), x.data, x.out, x.none, x.out); };
    EXPECT_THAT(in_buffers()(order4), ElementsAre("moments ppppp-p", "compute 80 1"));
    EXPECT_THAT(in_usm()(order4), ElementsAre("moments pp-pp-p", "compute 80 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::central_moment(cpu(), x.data, x.out, x.out, x.none); }),
                ElementsAre("moments ppp-pp-", "compute 48 1"));
    EXPECT_THAT(
        in_both([](auto& x) { stats::central_moment<method::standard>(cpu(), x.data, x.out, x.out, x.out); }),
        ElementsAre("moments ppppppp", "compute 112 2"));
    EXPECT_THAT(in_both([](auto& x) { stats::central_moment(cpu(), x.out, x.data, x.out, x.none, x.none); }),
                ElementsAre("moments pp--p--", "compute 16 256"));
}

TEST(component_calls, shapes) {
    EXPECT_THAT(in_both([](auto& x) { stats::variation(cpu(), x.data, x.out); }),
                ElementsAre("moments pp--p--", "edit 18 p", "compute 512 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::skewness(cpu(), x.data, x.out); }),
                ElementsAre("moments ppp-pp-", "edit 15 p", "compute 256 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::kurtosis<method::standard>(cpu(), x.data, x.out); }),
                ElementsAre("moments ppppp-p", "edit 14 p", "compute 128 1"));
    EXPECT_THAT(in_both([](auto& x) { stats::variation(cpu(), x.out, x.data, x.out); }),
                ElementsAre("moments pp--p--", "edit 18 p", "compute 512 256"));
    EXPECT_THAT(in_both([](auto& x) { stats::skewness(cpu(), x.out, x.data, x.out); }),
                ElementsAre("moments ppp-pp-", "edit 15 p", "compute 256 256"));
    EXPECT_THAT(in_both([](auto& x) { stats::kurtosis(cpu(), x.out, x.data, x.out); }),
                ElementsAre("moments ppppp-p", "edit 14 p", "compute 128 256"));
}

TEST(component_calls, a_task_gets_the_weights_and_the_mask_that_are_there) {
    sycl::buffer<float, 1> x(sycl::range<1>(6));
    sycl::buffer<float, 1> weights(sycl::range<1>(3));
    sycl::buffer<std::int64_t, 1> mask(sycl::range<1>(2));
    sycl::buffer<float, 1> out(sycl::range<1>(2));
    const sycl::buffer<float, 1> no_weights(sycl::range<1>(0));
    const sycl::buffer<std::int64_t, 1> no_mask(sycl::range<1>(0));
    const auto made = [&](const auto& w, const auto& m) {
        const stats::dataset<layout::by_observation, sycl::buffer<float, 1>> data{2, 3, x, w, m};
        stats::mean(cpu(), data, out);
        cpu().wait();
        return test::component::take_calls().front();
    };
    EXPECT_EQ(made(weights, mask), "new float 2x3 131072 ppp");
    EXPECT_EQ(made(weights, no_mask), "new float 2x3 131072 pp-");
    EXPECT_EQ(made(no_weights, mask), "new float 2x3 131072 p-p");
    EXPECT_EQ(made(no_weights, no_mask), "new float 2x3 131072 p--");

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
            sycl::buffer<double, 1> x(sycl::range<1>(6));
            sycl::buffer<double, 1> out(sycl::range<1>(2));
            stats::kurtosis(queue, stats::dataset<rows, sycl::buffer<double, 1>>{2, 3, x}, out);
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
    double* const x = sycl::malloc_shared<double>(8, queue);
    test::component::fail_at("compute", -4020);
    sycl::event done = stats::variation(queue, stats::dataset<rows, double*>{2, 3, x}, x + 6);
    EXPECT_EQ(done.get_info<sycl::info::event::command_execution_status>(),
              sycl::info::event_command_status::complete);
    EXPECT_EQ(errors, 0);
    done.wait_and_throw();
    EXPECT_EQ(errors, 1);
    sycl::free(x, queue);
    EXPECT_EQ(test::live_allocations(), before);
    test::component::take_calls();
}

namespace {

struct scratch_case {
    const char* name;
    int allocations;
    sycl::event (*call)(stats::dataset<rows, double*>&, double*);
};

const scratch_case scratch_cases[] = {
    {"variation", 3, [](auto& data, double* out) { return stats::variation(cpu(), data, out); }},
    {"variation", 2, [](auto& data, double* out) { return stats::variation(cpu(), out, data, out); }},
    {"skewness", 5, [](auto& data, double* out) { return stats::skewness(cpu(), data, out); }},
    {"skewness", 4, [](auto& data, double* out) { return stats::skewness(cpu(), out, data, out); }},
    {"kurtosis", 6, [](auto& data, double* out) { return stats::kurtosis(cpu(), data, out); }},
    {"kurtosis", 5, [](auto& data, double* out) { return stats::kurtosis(cpu(), out, data, out); }},
    {"central_sum", 4,
     [](auto& data, double* out) { return stats::central_sum(cpu(), data, out, out, out); }},
    {"central_sum", 2,
     [](auto& data, double* out) {
         return stats::central_sum(cpu(), data, out, static_cast<double*>(nullptr),
                                   static_cast<double*>(nullptr));
     }},
    {"central_sum", 1,
     [](auto& data, double* out) {
         return stats::central_sum<method::standard>(cpu(), data, out, out, out);
     }},
    {"central_moment", 4,
     [](auto& data, double* out) { return stats::central_moment(cpu(), data, out, out, out); }},
    {"central_moment", 3,
     [](auto& data, double* out) { return stats::central_moment(cpu(), out, data, out, out, out); }},
};

} // namespace

TEST(scratch_failures, each_allocation_may_fail_and_nothing_is_lost_or_submitted) {
    double* const x = sycl::malloc_shared<double>(8, cpu());
    stats::dataset<rows, double*> data{2, 3, x};
    const auto name = cpu().get_device().get_info<sycl::info::device::name>();
    for (const auto& each : scratch_cases) {
        const int before = test::live_allocations();
        for (int sound = 0; sound < each.allocations; ++sound) {
            test::take_tried_allocations();
            test::fail_allocation_after(sound);
            try {
                each.call(data, x + 6);
                ADD_FAILURE() << each.name << ": no exception with allocation " << sound << " failing";
            } catch (const aurelo::qtx::device_bad_alloc& error) {
                EXPECT_EQ(error.what(), std::string("aurelo::qtx::stats::") + each.name +
                                            ": cannot allocate memory on " + name);
            }
            test::fail_allocation_after(-1);
            EXPECT_EQ(test::take_tried_allocations(), each.allocations)
                << each.name << ": all are tried before any is tested";
            EXPECT_EQ(test::live_allocations(), before) << each.name;
            EXPECT_TRUE(test::component::take_calls().empty()) << each.name;
        }
        each.call(data, x + 6).wait();
        EXPECT_EQ(test::live_allocations(), before) << each.name;
        EXPECT_FALSE(test::component::take_calls().empty()) << each.name;
    }
    sycl::free(x, cpu());
}
