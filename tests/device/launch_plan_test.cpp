#include "device/dataset_view.hpp"
#include "device/launch_plan.hpp"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

using aurelo::qtx::stats::detail::gpu::launch_pass;
using aurelo::qtx::stats::detail::gpu::launch_plan;
using passes = std::vector<launch_pass>;

TEST(launch_plan, worked_examples) {
    const std::tuple<std::uint64_t, std::uint64_t, passes> cases[] = {
        {1, 1, {{1, 1, 0, 1, true}}},
        {1, 1024, {{1, 1, 0, 1, true}}},
        {96, 96, {{96, 1, 0, 96, true}}},
        {97, 96, {{96, 2, 1, 97, false}, {2, 1, 0, 2, true}}},
        {16, 4, {{4, 4, 0, 16, false}, {4, 1, 0, 4, true}}},
        {17, 4, {{4, 5, 1, 17, false}, {4, 2, 1, 5, false}, {2, 1, 0, 2, true}}},
        {5'000'000,
         1024,
         {{1024, 4883, 832, 5'000'000, false}, {1024, 5, 787, 4883, false}, {5, 1, 0, 5, true}}}};
    for (const auto& [n, wg, expected] : cases) {
        const launch_plan plan(n, wg);
        EXPECT_EQ(plan.passes(), expected) << n << " observations by " << wg;
        EXPECT_EQ(plan.is_single_step(), expected.size() == 1);
    }
    EXPECT_EQ(launch_plan(5'000'000, 1024).first_row(), 4883u);
    EXPECT_EQ(launch_plan(5'000'000, 1024).second_row(), 5u);
    EXPECT_EQ(launch_plan(16, 4).second_row(), 0u);
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

TEST(positions, of_the_last_of_more_than_four_gibi_elements) {
    using namespace aurelo::qtx::stats;
    const auto expect_last = []<layout L>() {
        const auto helper = detail::make_helper<true>(dataset<L, float*>(70'001, 80'003, nullptr));
        EXPECT_EQ(detail::element_index<L>(helper, 70'000, 80'002), 5'600'290'002u);
    };
    expect_last.operator()<layout::by_dimension>();
    expect_last.operator()<layout::by_observation>();
}
