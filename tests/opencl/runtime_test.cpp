#include "device.hpp"
#include "kernels.hpp"

#include <sycl/detail/local_pool.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace {

class opencl_kernels : public test::on_opencl {};

template <typename T>
void check_sums_of_squares(sycl::queue& queue, std::size_t n_groups, std::size_t local_size) {
    std::vector<T> values(n_groups * local_size);
    std::vector<T> expected(n_groups);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<T>(i % 17 + 1);
        expected[i / local_size] += values[i] * values[i];
    }
    std::vector<T> sums(n_groups, T(-1));
    {
        sycl::buffer<T, 1> in(values.data(), values.size());
        sycl::buffer<T, 1> out(sums.data(), sums.size());
        test::sum_of_squares(queue, in, out, local_size);
    }
    EXPECT_EQ(sums, expected) << "local size " << local_size;
}

TEST_F(opencl_kernels, tiles_in_local_memory_and_group_sums_of_buffers) {
    for (const std::size_t local_size : {1, 2, 7, 31, 32, 33, 100, 4096}) {
        check_sums_of_squares<float>(queue, 3, local_size);
    }
    if (device.has(sycl::aspect::fp64)) {
        check_sums_of_squares<double>(queue, 5, 100);
    }
}

TEST_F(opencl_kernels, every_work_item_gets_the_sums_of_a_loop_with_uniform_branches) {
    for (const std::size_t n : {1, 2, 15, 16, 17, 32, 77, 4096}) {
        float* const values = sycl::malloc_shared<float>(2 * n, queue);
        float* const sums = values + n;
        std::fill_n(values, n, 1.0F);
        test::add_rounds(queue, values, n, 3, sums).wait();
        for (std::size_t lane = 0; lane < n; ++lane) {
            EXPECT_EQ(sums[lane], 24.0F * static_cast<float>(n)) << "lane " << lane << " of " << n;
        }
        sycl::free(values, queue);
    }
}

TEST_F(opencl_kernels, a_chain_of_events_runs_in_its_order) {
    constexpr std::size_t n = 64;
    float* const values = sycl::malloc_device<float>(n, queue);
    sycl::event last = queue.fill(values, 1.0F, n);
    for (int i = 0; i < 5; ++i) {
        last = test::scale_and_count(queue, values, n, 2.0F, {last});
    }
    std::vector<float> result(n);
    queue.memcpy(result.data(), values, n * sizeof(float), {last}).wait();
    for (std::size_t i = 0; i < n; ++i) {
        EXPECT_EQ(result[i], 32 + 31 * static_cast<float>(i));
    }
    sycl::free(values, queue);
}

TEST_F(opencl_kernels, one_buffer_moves_between_all_backends) {
    std::vector<float> values(64);
    std::iota(values.begin(), values.end(), 1.0F);
    std::vector<float> sums(64, 0.0F);
    std::vector<sycl::queue> queues{queue, sycl::queue(sycl::cpu_selector_v)};
    {
        sycl::buffer<float, 1> first(values.data(), values.size());
        sycl::buffer<float, 1> second(sums.data(), sums.size());
        // Squares travel back and forth, each step on the other device.
        for (int step = 0; step < 4; ++step) {
            auto& from = step % 2 == 0 ? first : second;
            auto& to = step % 2 == 0 ? second : first;
            test::sum_of_squares(queues[static_cast<std::size_t>(step % 2)], from, to, 1);
        }
    }
    EXPECT_EQ(values[0], 1.0F);
    EXPECT_EQ(values[1], 65536.0F); // 2 to the power of 16
}

/// This file is compiled for the host only.
struct kernel_without_image {
    int* value;
    void operator()() const { *value = 1; }
};

template <typename Call>
sycl::exception refusal_of(const Call& call) {
    try {
        call();
    } catch (const sycl::exception& error) {
        return error;
    }
    return {sycl::errc::success, "nothing was refused"};
}

TEST_F(opencl_kernels, a_kernel_without_image_is_refused_by_its_readable_name) {
    int value = 0;
    const auto error = refusal_of([&] { queue.single_task(kernel_without_image{&value}); });
    EXPECT_EQ(error.code(), sycl::errc::kernel_not_supported);
    EXPECT_THAT(error.what(), HasSubstr("kernel_without_image"));
}

TEST_F(opencl_kernels, local_memory_is_limited_together_with_that_of_reductions) {
    const auto limit = device.get_info<sycl::info::device::local_mem_size>();
    const std::size_t of_reductions = (4 + 4) * sizeof(float);
    std::vector<float> values{1, 2, 3, 4};
    float sum = -1;
    const auto sum_with = [&](std::size_t local_bytes) {
        sycl::buffer<float, 1> in(values.data(), values.size());
        sycl::buffer<float, 1> out(&sum, 1);
        test::sum_of_squares(queue, in, out, 4, local_bytes / sizeof(float) - 4);
    };
    for (const std::size_t too_much : {limit - of_reductions + sizeof(float), std::size_t{limit}}) {
        const auto error = refusal_of([&] { sum_with(too_much); });
        EXPECT_EQ(error.code(), sycl::errc::memory_allocation);
        EXPECT_EQ(error.what(), std::to_string(too_much + of_reductions) +
                                    " bytes of local memory, of which " + std::to_string(of_reductions) +
                                    " are for reductions, are above the limit of " + std::to_string(limit) +
                                    " of " + device.get_info<sycl::info::device::name>());
    }
    EXPECT_EQ(sum, -1);
    sum_with(limit - of_reductions - 1024); // drivers align the blocks
    EXPECT_EQ(sum, 30);
}

} // namespace
