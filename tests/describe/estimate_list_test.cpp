// Which calls are made for the estimates that are asked for.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "errors.hpp"
#include "estimate_list.hpp"

namespace aurelo::qtx::describe {
namespace {

std::vector<planned_call> plan(const std::vector<std::string>& names, bool mean_given = false) {
    return plan_calls(select_estimates(names), mean_given);
}

std::vector<std::string> names_of(const estimate_selection& selection) {
    std::vector<std::string> names;
    for (const estimate* e : selection) {
        names.emplace_back(e->name);
    }
    return names;
}

TEST(estimate_list, selection_is_ordered_and_without_doubles) {
    EXPECT_THAT(names_of(select_estimates({"kurtosis", "min", "kurtosis"})),
                testing::ElementsAre("min", "kurtosis"));
    EXPECT_THROW(select_estimates({"median"}), input_error);
    EXPECT_THROW(select_estimates({}), input_error);
}

TEST(estimate_list, estimates_of_one_call_share_it) {
    const auto calls = plan({"sum", "raw_sum2", "raw_sum3", "raw_sum4"});
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].call, call_name::raw_sum);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(calls[0].needs(i)) << i;
    }
}

TEST(estimate_list, outputs_not_asked_for_are_left_out_except_the_first) {
    const auto calls = plan({"central_sum4"});
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_TRUE(calls[0].needs(0));
    EXPECT_EQ(calls[0].outputs[0], nullptr);
    EXPECT_FALSE(calls[0].needs(1));
    EXPECT_TRUE(calls[0].needs(2));
    EXPECT_FALSE(calls[0].needs(3));
}

TEST(estimate_list, extremes_are_computed_alone_or_together) {
    EXPECT_EQ(plan({"min"})[0].call, call_name::min);
    EXPECT_EQ(plan({"max"})[0].call, call_name::max);
    EXPECT_EQ(plan({"max"})[0].outputs[0]->name, "max");
    ASSERT_EQ(plan({"min", "max"}).size(), 1U);
    EXPECT_EQ(plan({"min", "max"})[0].call, call_name::min_max);
}

TEST(estimate_list, the_mean_goes_to_the_calls_that_take_it) {
    for (const planned_call& planned : plan({"min", "mean", "sum", "central_sum2", "variation"}, true)) {
        const bool takes_mean =
            planned.call == call_name::central_sum || planned.call == call_name::variation;
        EXPECT_EQ(planned.about_mean, takes_mean);
    }
    EXPECT_THROW(check_selection(select_estimates({"min", "max"}), false, true), input_error);
}

} // namespace
} // namespace aurelo::qtx::describe
