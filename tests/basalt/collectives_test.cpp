// Work-groups that meet: results of collectives over local sizes, groups and worker threads.
#include "driver_fixture.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <numeric>
#include <tuple>

namespace {

using namespace basalt_test;

class collectives : public testing::TestWithParam<std::tuple<std::size_t, std::uint32_t>> {
protected:
    void SetUp() override {
        bs_device_desc_t desc;
        check(bs_device_get_desc(queue_.device(), &desc));
        if (local_size > desc.max_work_group_size) {
            GTEST_SKIP() << "local size above the limit of this build";
        }
    }

    /// `right(item, local memory)` holds for every work-item; each runs once and knows itself.
    template <typename Right>
    void expect_of_every_item(std::size_t local_bytes, const Right& right) {
        std::vector<std::atomic<int>> runs(n_groups * local_size);
        std::atomic<int> wrong = 0;
        const auto body = [&](const bs_work_item_t& item, void* memory) {
            ++runs.at(item.group_id * local_size + item.local_id);
            wrong += !right(item, memory) || item.local_size != local_size || item.n_groups != n_groups;
        };
        const kernel k(n_groups, local_size, body, local_bytes);
        ASSERT_EQ(queue_.run(k), BS_SUCCESS) << bs_last_error();
        EXPECT_EQ(wrong, 0);
        EXPECT_THAT(std::vector<int>(runs.begin(), runs.end()), testing::Each(1));
    }

    const std::size_t local_size = std::get<0>(GetParam());
    const std::size_t n_groups = 2000 / local_size + 37;
    const queue queue_{device_with_threads(std::get<1>(GetParam()))};
};

TEST_P(collectives, barriers_order_local_memory) {
    expect_of_every_item(local_size * sizeof(std::size_t), [&](const bs_work_item_t& item, void* memory) {
        auto* const local = static_cast<std::size_t*>(memory);
        const std::size_t other = (item.local_id * 7 + 3) % local_size;
        bool right = true;
        for (std::size_t round = 0; round < 5; ++round) {
            local[item.local_id] = item.local_id * 100 + round + item.group_id;
            bs_group_barrier(&item);
            right &= local[other] == other * 100 + round + item.group_id;
            bs_group_barrier(&item);
        }
        return right;
    });
}

TEST_P(collectives, every_work_item_gets_the_result_of_a_combine) {
    expect_of_every_item(0, [&](const bs_work_item_t& item, void*) {
        const double n = static_cast<double>(local_size);
        bool right = true;
        for (int round = 0; round < 3; ++round) {
            const double mine = static_cast<double>(item.local_id + item.group_id) * round;
            right &=
                group_sum(item, mine) == (n * (n - 1) / 2 + n * static_cast<double>(item.group_id)) * round;
        }
        return right;
    });
}

TEST_P(collectives, copies_fetch_tiles) {
    std::vector<std::size_t> source(n_groups * local_size * 2);
    std::iota(source.begin(), source.end(), 0);
    expect_of_every_item(local_size * sizeof(std::size_t), [&](const bs_work_item_t& item, void* memory) {
        auto* const local = static_cast<std::size_t*>(memory);
        const std::size_t first = item.group_id * local_size * 2;
        const std::size_t mirrored = local_size - 1 - item.local_id;
        bool right = true;
        for (std::size_t half = 0; half < 2; ++half) {
            const std::uint64_t number = bs_group_copy(&item, local, source.data() + first + half,
                                                       sizeof(std::size_t), local_size, 1, 2);
            bs_group_wait_copy(&item, number);
            bs_group_barrier(&item);
            right &= number == half && local[mirrored] == first + 2 * mirrored + half;
            bs_group_barrier(&item);
        }
        return right;
    });
}

INSTANTIATE_TEST_SUITE_P(sizes_and_threads, collectives,
                         testing::Combine(testing::Values(1, 2, 3, 7, 64, 1024), testing::Values(1, 2, 4)),
                         [](const auto& chosen) {
                             return "local_size_" + std::to_string(std::get<0>(chosen.param)) + "_threads_" +
                                    std::to_string(std::get<1>(chosen.param));
                         });

TEST(collective_values, any_size_up_to_64_bytes) {
    const queue q(device_with_threads(2));
    constexpr std::size_t local_size = 5;
    for (const std::size_t bytes : {1u, 2u, 4u, 7u, 8u, 12u, 16u, 63u, 64u}) {
        static std::size_t size; // for the combine function, which captures nothing
        size = bytes;
        std::atomic<int> wrong = 0;
        const kernel k(3, local_size, [&](const bs_work_item_t& item, void*) {
            // The last contribution wins, so order and packing show.
            unsigned char mine[64];
            unsigned char result[64] = {};
            std::memset(mine, static_cast<int>(item.local_id + 1), bytes);
            bs_group_combine(
                &item, mine, bytes,
                [](void* values, std::size_t count, void* out) {
                    std::memcpy(out, static_cast<unsigned char*>(values) + (count - 1) * size, size);
                },
                result);
            wrong += result[0] != local_size || result[bytes - 1] != local_size ||
                     (bytes < sizeof(result) && result[bytes] != 0);
        });
        ASSERT_EQ(q.run(k), BS_SUCCESS) << bs_last_error();
        EXPECT_EQ(wrong, 0) << bytes << " bytes";
    }
}

TEST(group_copies, happen_when_the_first_work_item_waits) {
    const queue q(device_with_threads(1));
    int source = 7;
    int target[2] = {0, 0};
    const kernel k(1, 2, [&](const bs_work_item_t& item, void*) {
        const std::uint64_t first = bs_group_copy(&item, &target[0], &source, sizeof(int), 1, 1, 1);
        const std::uint64_t second = bs_group_copy(&item, &target[1], &source, sizeof(int), 1, 1, 1);
        if (item.local_id == 0) {
            EXPECT_EQ(target[0] + target[1], 0);
            source = 8; // still to be copied
        }
        bs_group_barrier(&item);
        bs_group_wait_copy(&item, second);
        EXPECT_EQ(target[0], 0) << "a wait completes its own copy only";
        EXPECT_EQ(target[1], 8);
        bs_group_barrier(&item);
        bs_group_wait_copy(&item, first);
        EXPECT_EQ(target[0], 8);
    });
    ASSERT_EQ(q.run(k), BS_SUCCESS) << bs_last_error();
}

TEST(local_memory, is_aligned_and_absent_when_none_is_asked_for) {
    const queue q(device_with_threads(2));
    for (const std::size_t bytes : {0u, 1u, 100u, 65536u}) {
        const auto body = [bytes](const bs_work_item_t&, void* memory) {
            EXPECT_EQ(memory == nullptr, bytes == 0);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0u);
        };
        const kernel k(3, 2, body, bytes);
        ASSERT_EQ(q.run(k), BS_SUCCESS) << bs_last_error();
    }
}

} // namespace
