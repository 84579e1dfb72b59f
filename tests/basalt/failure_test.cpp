// Kernels that go wrong: their launch fails with words that say why, and the device goes on.
#include "driver_fixture.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>

namespace {

using namespace basalt_test;
using testing::HasSubstr;

struct divergent_case {
    const char* name;
    std::size_t local_size;
    void (*body)(const bs_work_item_t& item);
    const char* words;
};

class divergence : public testing::TestWithParam<divergent_case> {};

TEST_P(divergence, stops_the_group_and_names_collectives_and_work_items) {
    const queue q(device_with_threads(2));
    const divergent_case& c = GetParam();
    const kernel k(
        4, c.local_size, [&](const bs_work_item_t& item, void*) { c.body(item); }, 0, "skewed");
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    const std::string words = bs_last_error();
    EXPECT_THAT(words, HasSubstr("kernel skewed, group "));
    EXPECT_THAT(words, HasSubstr(c.words));
    const kernel sound(4, c.local_size, [](const bs_work_item_t& item, void*) { bs_group_barrier(&item); });
    EXPECT_EQ(q.run(sound), BS_SUCCESS) << "the device must be usable afterwards";
}

const divergent_case divergent_cases[] = {
    {"one_returns_early", 4,
     [](const bs_work_item_t& item) {
         if (item.local_id != 2) {
             bs_group_barrier(&item);
         }
     },
     "work-item 2 returned, while work-items 0 to 1 wait in a barrier"},
    {"first_returns_early", 3,
     [](const bs_work_item_t& item) {
         if (item.local_id != 0) {
             bs_group_barrier(&item);
         }
     },
     "work-item 1 came to a barrier, while work-item 0 returned without it"},
    {"one_more_barrier", 3,
     [](const bs_work_item_t& item) {
         bs_group_barrier(&item);
         if (item.local_id == 0) {
             bs_group_barrier(&item);
         }
     },
     "work-item 0 came to a barrier, while work-item 2 returned without it"},
    {"kinds_differ", 2,
     [](const bs_work_item_t& item) {
         if (item.local_id == 0) {
             bs_group_barrier(&item);
         } else {
             group_sum(item, 1);
         }
     },
     "work-item 1 came to a combine of 8 bytes, while work-item 0 waits in a barrier"},
    {"sizes_differ", 2,
     [](const bs_work_item_t& item) {
         char value[16] = {};
         bs_group_combine(
             &item, value, 8 + 8 * item.local_id, [](void*, std::size_t, void*) {}, value);
     },
     "work-item 1 came to a combine of 16 bytes, while work-item 0 waits in a combine of 8 bytes"},
    {"wrapped_around", 3,
     [](const bs_work_item_t& item) {
         bs_group_barrier(&item);
         if (item.local_id != 1) {
             bs_group_barrier(&item);
         }
     },
     "work-item 1 returned, while work-items 2 and 0 wait in a barrier"},
    {"copies_differ", 2,
     [](const bs_work_item_t& item) {
         static char target[2];
         static const char source[2] = {};
         bs_group_copy(&item, target, source, 1, 1 + item.local_id, 1, 1);
     },
     "work-item 1 began copy 0 of its group with other arguments"},
    {"a_copy_too_many", 2,
     [](const bs_work_item_t& item) {
         static char target[2];
         if (item.local_id == 1) {
             bs_group_copy(&item, target, "x", 1, 1, 1, 1);
         }
         bs_group_barrier(&item);
     },
     "work-item 1 came to a barrier after 1 copies, while work-item 0 waits in a barrier"},
    {"unknown_copy", 1, [](const bs_work_item_t& item) { bs_group_wait_copy(&item, 5); },
     "work-item 0 waits for copy 5, which its group has not begun"},
    {"oversized_combine", 1,
     [](const bs_work_item_t& item) {
         char value[65] = {};
         bs_group_combine(
             &item, value, sizeof(value), [](void*, std::size_t, void*) {}, value);
     },
     "combines 65 bytes, the limit is 64"},
};

INSTANTIATE_TEST_SUITE_P(kernels, divergence, testing::ValuesIn(divergent_cases),
                         [](const auto& chosen) { return chosen.param.name; });

TEST(kernel_exceptions, fail_the_launch_with_what_was_thrown) {
    const queue q(device_with_threads(2));
    for (const std::size_t local_size : {1u, 3u, 64u}) {
        const std::size_t thrower = local_size / 2;
        const kernel k(
            10, local_size,
            [&](const bs_work_item_t& item, void*) {
                group_sum(item, 1);
                if (item.group_id == 5 && item.local_id == thrower) {
                    throw std::out_of_range("row 17");
                }
                group_sum(item, 1);
            },
            0, "thrower");
        EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
        EXPECT_EQ(std::string(bs_last_error()),
                  "kernel thrower, group 5: work-item " + std::to_string(thrower) + " threw: row 17");
    }
    const kernel strange(1, 2, [](const bs_work_item_t&, void*) { throw 42; });
    EXPECT_EQ(q.run(strange), BS_ERROR_KERNEL_FAILED);
    EXPECT_THAT(bs_last_error(), HasSubstr("no std::exception"));
}

TEST(kernel_exceptions, unwind_every_work_item_that_was_started) {
    const queue q(device_with_threads(1));
    std::atomic<int> alive = 0;
    std::atomic<int> met_while_unwound = 0;
    struct guard {
        const bs_work_item_t& item;
        std::atomic<int>& alive;
        std::atomic<int>& met;
        ~guard() {
            --alive;
            if (std::uncaught_exceptions() != 0 && item.local_id != 5) {
                bs_group_barrier(&item); // the group is stopped: must neither block nor throw
                ++met;
            }
        }
    };
    const kernel k(1, 8, [&](const bs_work_item_t& item, void*) {
        ++alive;
        const guard g{item, alive, met_while_unwound};
        bs_group_barrier(&item);
        if (item.local_id == 5) {
            throw std::runtime_error("five");
        }
        bs_group_barrier(&item);
    });
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(met_while_unwound, 7);
}

TEST(kernel_exceptions, no_group_starts_after_the_failure) {
    const queue q(device_with_threads(1));
    std::size_t groups = 0;
    const kernel k(100000, 1, [&](const bs_work_item_t& item, void*) {
        ++groups;
        if (item.group_id == 100) {
            throw std::runtime_error("enough");
        }
    });
    EXPECT_EQ(q.run(k), BS_ERROR_KERNEL_FAILED);
    EXPECT_EQ(groups, 101u);
}

/// Counts of a kernel whose instances are counters themselves.
struct instances {
    std::atomic<int> made{0};
    std::atomic<int> dropped{0};
    int fail_from = 1000;

    bs_kernel_t kernel(std::size_t n_groups, void (*run_item)(void*, const bs_work_item_t*)) {
        bs_kernel_t k{};
        k.name = "counted";
        k.run_item = run_item;
        k.make_instance = [](void* argument, void*) {
            auto* self = static_cast<instances*>(argument);
            if (++self->made > self->fail_from) {
                --self->made;
                throw std::runtime_error("no more instances");
            }
            return argument;
        };
        k.drop_instance = [](void* instance) { ++static_cast<instances*>(instance)->dropped; };
        k.argument = this;
        k.n_groups = n_groups;
        k.local_size = 1;
        return k;
    }
};

bs_result_t run(const queue& q, const bs_kernel_t& k) {
    const event done;
    bs_command_t command{};
    command.kernel = &k;
    command.signal = done;
    check(bs_command_queue_submit(q, &command));
    return done.wait();
}

TEST(kernel_instances, one_for_each_thread_that_takes_part_and_always_dropped) {
    const queue q(device_with_threads(4));
    const auto idle = [](void*, const bs_work_item_t*) {};
    for (const std::size_t n_groups : {0u, 1u, 3u, 5000u}) {
        instances counts;
        ASSERT_EQ(run(q, counts.kernel(n_groups, idle)), BS_SUCCESS);
        EXPECT_LE(counts.made, static_cast<int>(std::min<std::size_t>(n_groups, 4)));
        EXPECT_GE(counts.made, n_groups == 0 ? 0 : 1);
        EXPECT_EQ(counts.made, counts.dropped);
    }
    instances counts;
    const auto fail = [](void*, const bs_work_item_t*) { throw std::runtime_error("failing kernel"); };
    ASSERT_EQ(run(q, counts.kernel(100, fail)), BS_ERROR_KERNEL_FAILED);
    EXPECT_GE(counts.made, 1);
    EXPECT_EQ(counts.made, counts.dropped);
}

TEST(kernel_instances, one_that_cannot_be_made_fails_the_launch) {
    const queue q(device_with_threads(2));
    instances counts;
    counts.fail_from = 0;
    EXPECT_EQ(run(q, counts.kernel(10, [](void*, const bs_work_item_t*) {})), BS_ERROR_KERNEL_FAILED);
    EXPECT_EQ(std::string(bs_last_error()),
              "kernel counted: its instance could not be made: no more instances");
    EXPECT_EQ(counts.dropped, 0);
}

} // namespace
