#include "device/launch_plan.hpp"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

using aurelo::qtx::stats::detail::gpu::launch_pass;
using aurelo::qtx::stats::detail::gpu::launch_plan;
using passes = std::vector<launch_pass>;

TEST(launch_plan, two_passes_after_the_first_for_five_million_observations) {
    const launch_plan plan(5'000'000, 1024);
    EXPECT_EQ(plan.passes(),
              (passes{{1024, 4883, 832, 5'000'000, false}, {1024, 5, 787, 4883, false}, {5, 1, 0, 5, true}}));
    EXPECT_EQ(plan.first_row(), 4883u);
    EXPECT_EQ(plan.second_row(), 5u);
}

TEST(launch_plan, single_step_up_to_the_limit) {
    EXPECT_EQ(launch_plan(1, 1024).passes(), (passes{{1, 1, 0, 1, true}}));
    EXPECT_EQ(launch_plan(1, 1).passes(), (passes{{1, 1, 0, 1, true}}));
    EXPECT_EQ(launch_plan(1000, 1024).passes(), (passes{{1000, 1, 0, 1000, true}}));
    EXPECT_EQ(launch_plan(96, 96).passes(), (passes{{96, 1, 0, 96, true}}));
    EXPECT_TRUE(launch_plan(96, 96).is_single_step());
}

TEST(launch_plan, two_groups_with_tail_of_one) {
    EXPECT_EQ(launch_plan(97, 96).passes(), (passes{{96, 2, 1, 97, false}, {2, 1, 0, 2, true}}));
}

TEST(launch_plan, as_many_groups_as_a_group_has_work_items) {
    EXPECT_EQ(launch_plan(16, 4).passes(), (passes{{4, 4, 0, 16, false}, {4, 1, 0, 4, true}}));
    EXPECT_EQ(launch_plan(16, 4).second_row(), 0u);
}

TEST(launch_plan, one_group_more_takes_an_intermediate_pass) {
    EXPECT_EQ(launch_plan(17, 4).passes(),
              (passes{{4, 5, 1, 17, false}, {4, 2, 1, 5, false}, {2, 1, 0, 2, true}}));
}

TEST(launch_plan, every_pass_covers_the_row_before_it_exactly) {
    std::mt19937 random(7);
    for (int i = 0; i < 1000; ++i) {
        const std::uint64_t wg = std::uniform_int_distribution<std::uint64_t>(2, 64)(random);
        const std::uint64_t n = std::uniform_int_distribution<std::uint64_t>(1, 100'000)(random);
        SCOPED_TRACE(std::to_string(n) + " observations by " + std::to_string(wg));
        std::uint64_t row = n;
        const launch_plan plan(n, wg);
        for (const launch_pass& pass : plan.passes()) {
            ASSERT_EQ(pass.stride, row);
            ASSERT_EQ((pass.n_groups - 1) * pass.local_size + (pass.tail ? pass.tail : pass.local_size), row);
            ASSERT_LE(pass.local_size, wg);
            ASSERT_EQ(pass.last, &pass == &plan.passes().back());
            row = pass.n_groups;
        }
        ASSERT_EQ(row, 1u);
    }
}

TEST(launch_plan, refuses_what_would_never_end) {
    EXPECT_THROW(launch_plan(2, 1), std::invalid_argument);
    EXPECT_THROW(launch_plan(0, 96), std::invalid_argument);
    EXPECT_THROW(launch_plan(5, 0), std::invalid_argument);
}
