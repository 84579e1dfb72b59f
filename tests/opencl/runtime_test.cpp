#include "device.hpp"
#include "kernels.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <vector>

using testing::HasSubstr;

namespace {

class opencl_kernels : public test::on_opencl {};

template <typename T>
std::vector<T> counting(std::size_t n) {
    std::vector<T> result(n);
    std::iota(result.begin(), result.end(), T(1));
    return result;
}

template <typename T>
T expected_sum_of_squares(const std::vector<T>& values, std::size_t first, std::size_t n) {
    T result = 0;
    for (std::size_t i = first; i < first + n; ++i) {
        result += values[i] * values[i];
    }
    return result;
}

template <typename T>
void check_sums_of_squares(sycl::queue& queue, std::size_t n_groups, std::size_t local_size) {
    auto values = counting<T>(n_groups * local_size);
    for (auto& each : values) {
        each = static_cast<T>(static_cast<long>(each) % 17);
    }
    std::vector<T> sums(n_groups, T(-1));
    {
        sycl::buffer<T, 1> in(values.data(), values.size());
        sycl::buffer<T, 1> out(sums.data(), sums.size());
        test::sum_of_squares(queue, in, out, local_size);
    }
    for (std::size_t group = 0; group < n_groups; ++group) {
        EXPECT_EQ(sums[group], expected_sum_of_squares(values, group * local_size, local_size))
            << "group " << group << " of " << n_groups << ", local size " << local_size;
    }
}

TEST_F(opencl_kernels, tiles_in_local_memory_and_group_sums_of_buffers) {
    for (const std::size_t local_size : {1, 2, 7, 31, 32, 33, 100, 4096}) {
        check_sums_of_squares<float>(queue, 3, local_size);
    }
    if (device.has(sycl::aspect::fp64)) {
        check_sums_of_squares<double>(queue, 5, 100);
    }
}

TEST_F(opencl_kernels, two_local_arrays_and_three_reductions) {
    constexpr std::size_t n = 77;
    float* const values = sycl::malloc_shared<float>(n, queue);
    float* const results = sycl::malloc_shared<float>(3, queue);
    for (std::size_t i = 0; i < n; ++i) {
        values[i] = static_cast<float>((i * 31) % n) - 10;
    }
    test::describe_group(queue, values, n, results).wait();
    EXPECT_EQ(results[0], -10);
    EXPECT_EQ(results[1], 66);
    EXPECT_EQ(results[2], 77 * 28);
    sycl::free(results, queue);
    sycl::free(values, queue);
}

TEST_F(opencl_kernels, every_work_item_gets_the_sums_of_a_loop_that_the_group_counts) {
    for (const std::size_t n : {1, 2, 15, 16, 17, 32, 77, 4096}) {
        float* const values = sycl::malloc_shared<float>(2 * n, queue);
        float* const sums = values + n;
        std::fill_n(values, n, 1.0F);
        test::add_rounds(queue, values, n, 3, sums).wait();
        for (std::size_t lane = 0; lane < n; ++lane) {
            EXPECT_EQ(sums[lane], 6.0F * static_cast<float>(n)) << "lane " << lane << " of " << n;
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
    std::vector<float> values = counting<float>(64);
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

TEST_F(opencl_kernels, a_kernel_without_image_is_refused_by_its_readable_name) {
    int* const value = sycl::malloc_shared<int>(1, queue);
    try {
        test::without_image(queue, value);
        ADD_FAILURE() << "a kernel without image was taken";
    } catch (const sycl::exception& error) {
        EXPECT_EQ(error.code(), sycl::errc::kernel_not_supported);
        EXPECT_THAT(error.what(), HasSubstr("test::kernel_without_image"));
    }
    sycl::free(value, queue);
}

TEST_F(opencl_kernels, local_memory_above_the_limit_is_refused) {
    const auto limit = device.get_info<sycl::info::device::local_mem_size>();
    sycl::buffer<float, 1> in(sycl::range<1>(4));
    sycl::buffer<float, 1> out(sycl::range<1>(4));
    try {
        queue.submit([&](sycl::handler& handler) {
            const sycl::local_accessor<float, 1> too_much(sycl::range<1>(limit / sizeof(float)), handler);
            handler.parallel_for(sycl::nd_range<1>(1, 1), [=](sycl::nd_item<1>) { too_much[0] = 1; });
        });
        ADD_FAILURE() << "too much local memory was given";
    } catch (const sycl::exception& error) {
        EXPECT_THAT(error.what(), testing::AnyOf(HasSubstr("local memory"), HasSubstr("device image")));
    }
}

} // namespace
