// Kernels that go wrong: their launch fails with words that say why, and the device goes on.
#include "driver_fixture.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>

namespace {

using namespace basalt_test;
using testing::HasSubstr;

using item = bs_work_item_t;

void barrier_if(bool condition, const item& i) {
    if (condition) {
        bs_group_barrier(&i);
    }
}

void combine(const item& i, std::size_t bytes) {
    char value[128] = {};
    bs_group_combine(
        &i, value, bytes, [](void*, std::size_t, void*) {}, value);
}

void copy(const item& i, std::size_t count) {
    static char target[2];
    bs_group_copy(&i, target, "xy", 1, count, 1, 1);
}

struct divergent_case {
    const char* name;
    std::size_t local_size;
    void (*body)(const item& i);
    const char* words;
};

class divergence : public testing::TestWithParam<divergent_case> {};

TEST_P(divergence, stops_the_group_and_names_collectives_and_work_items) {
    const queue q(device_with_threads(2));
    const divergent_case& c = GetParam();
    const kernel k(
        4, c.local_size, [&](const item& i, void*) { c.body(i); }, 0, "skewed");
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    const std::string words = bs_last_error();
    EXPECT_THAT(words, HasSubstr("kernel skewed, group "));
    EXPECT_THAT(words, HasSubstr(c.words));
    const kernel sound(4, c.local_size, [](const item& i, void*) { bs_group_barrier(&i); });
    EXPECT_EQ(q.run(sound), BS_SUCCESS) << "the device must be usable afterwards";
}

const divergent_case divergent_cases[] = {
    {"one_returns_early", 4, [](const item& i) { barrier_if(i.local_id != 2, i); },
     "work-item 2 returned, while work-items 0 to 1 wait in a barrier"},
    {"first_returns_early", 3, [](const item& i) { barrier_if(i.local_id != 0, i); },
     "work-item 1 came to a barrier, while work-item 0 returned without it"},
    {"one_more_barrier", 3, [](const item& i) { barrier_if(true, i), barrier_if(i.local_id == 0, i); },
     "work-item 0 came to a barrier, while work-item 2 returned without it"},
    {"kinds_differ", 2, [](const item& i) { i.local_id == 0 ? bs_group_barrier(&i) : combine(i, 8); },
     "work-item 1 came to a combine of 8 bytes, while work-item 0 waits in a barrier"},
    {"sizes_differ", 2, [](const item& i) { combine(i, 8 + 8 * i.local_id); },
     "work-item 1 came to a combine of 16 bytes, while work-item 0 waits in a combine of 8 bytes"},
    {"wrapped_around", 3, [](const item& i) { barrier_if(true, i), barrier_if(i.local_id != 1, i); },
     "work-item 1 returned, while work-items 2 and 0 wait in a barrier"},
    {"copies_differ", 2, [](const item& i) { copy(i, 1 + i.local_id); },
     "work-item 1 began copy 0 of its group with other arguments"},
    {"a_copy_too_many", 2, [](const item& i) { i.local_id == 1 ? copy(i, 1) : void(), barrier_if(true, i); },
     "work-item 1 came to a barrier after 1 copies, while work-item 0 waits in a barrier"},
    {"unknown_copy", 1, [](const item& i) { bs_group_wait_copy(&i, 5); },
     "work-item 0 waits for copy 5, which its group has not begun"},
    {"oversized_combine", 1, [](const item& i) { combine(i, 65); }, "combines 65 bytes, the limit is 64"},
};

INSTANTIATE_TEST_SUITE_P(kernels, divergence, testing::ValuesIn(divergent_cases),
                         [](const auto& chosen) { return chosen.param.name; });

TEST(kernel_exceptions, fail_the_launch_with_what_was_thrown) {
    const queue q(device_with_threads(2));
    for (const std::size_t local_size : {1u, 3u, 64u}) {
        const std::size_t thrower = local_size / 2;
        const auto body = [&](const item& i, void*) {
            group_sum(i, 1);
            if (i.group_id == 5 && i.local_id == thrower) {
                throw std::out_of_range("row 17");
            }
            group_sum(i, 1);
        };
        const kernel k(10, local_size, body, 0, "thrower");
        EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
        EXPECT_EQ(std::string(bs_last_error()),
                  "kernel thrower, group 5: work-item " + std::to_string(thrower) + " threw: row 17");
    }
    const kernel strange(1, 2, [](const item&, void*) { throw 42; });
    EXPECT_EQ(q.run(strange), BS_ERROR_KERNEL_FAILED);
    EXPECT_THAT(bs_last_error(), HasSubstr("no std::exception"));
}

TEST(kernel_exceptions, unwind_every_work_item_that_was_started) {
    const queue q(device_with_threads(1));
    std::atomic<int> alive = 0;
    std::atomic<int> met_while_unwound = 0;
    struct guard {
        const item& i;
        std::atomic<int>& alive;
        std::atomic<int>& met;
        ~guard() {
            --alive;
            if (std::uncaught_exceptions() != 0 && i.local_id != 5) {
                bs_group_barrier(&i); // the group is stopped: must neither block nor throw
                ++met;
            }
        }
    };
    const kernel k(1, 8, [&](const item& i, void*) {
        ++alive;
        const guard g{i, alive, met_while_unwound};
        bs_group_barrier(&i);
        if (i.local_id == 5) {
            throw std::runtime_error("five");
        }
        bs_group_barrier(&i);
    });
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(met_while_unwound, 7);
}

TEST(kernel_exceptions, no_group_starts_after_the_failure) {
    const queue q(device_with_threads(1));
    std::size_t groups = 0;
    const kernel k(100000, 1, [&](const item& i, void*) {
        ++groups;
        if (i.group_id == 100) {
            throw std::runtime_error("enough");
        }
    });
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    EXPECT_EQ(groups, 101u);
}

TEST(kernel_instances, one_for_each_thread_that_takes_part_and_always_dropped) {
    const queue q(device_with_threads(4));
    for (const std::size_t n_groups : {0u, 1u, 3u, 100u, 5000u}) {
        for (const bool fails : {false, true}) {
            const kernel k(n_groups, 1, [&](const item&, void*) {
                if (fails) {
                    throw std::runtime_error("failing kernel");
                }
            });
            ASSERT_EQ(q.run(k), fails && n_groups != 0 ? BS_ERROR_KERNEL_FAILED : BS_SUCCESS);
            EXPECT_LE(k.made, static_cast<int>(std::min<std::size_t>(n_groups, 4)));
            EXPECT_GE(k.made, n_groups == 0 ? 0 : 1);
            EXPECT_EQ(k.made, k.dropped);
        }
    }
}

TEST(kernel_instances, one_that_cannot_be_made_fails_the_launch) {
    const queue q(device_with_threads(2));
    kernel k(10, 1, [](const item&, void*) {});
    k.refuses_instances = true;
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    EXPECT_STREQ(bs_last_error(), "kernel k: its instance could not be made: no more instances");
    EXPECT_EQ(k.dropped, 0);
}

} // namespace
