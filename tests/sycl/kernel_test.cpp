#include "devices.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

using test::int_buffer;

class kernels : public test::on_every_device {
protected:
    std::size_t limit = test::limit_of(GetParam());

    /// Calls \p check for local sizes worth trying, within the device's limit.
    template <typename Check>
    void for_local_sizes(const Check& check) const {
        for (const std::size_t size : {1UL, 2UL, 3UL, 4UL, 7UL, 33UL, 64UL}) {
            if (size <= limit) {
                SCOPED_TRACE("local size " + std::to_string(size));
                check(size);
            }
        }
    }
};
ON_EVERY_DEVICE(kernels);

TEST_P(kernels, work_items_know_where_they_are_and_all_get_the_results_of_reductions) {
    for_local_sizes([this](std::size_t local) {
        const std::size_t groups = 9;
        std::vector<int> right(groups * local, -1);
        {
            int_buffer result(right.data(), right.size());
            queue.submit([&](sycl::handler& group) {
                sycl::accessor target(result, group, sycl::write_only);
                group.parallel_for(sycl::nd_range<1>(local * groups, local), [=](sycl::nd_item<1> item) {
                    const bool placed =
                        item.get_local_range(0) == local && item.get_group_range(0) == groups &&
                        item.get_global_range(0) == local * groups &&
                        item.get_global_id(0) == item.get_group(0) * local + item.get_local_id(0);
                    const auto over = item.get_group();
                    const auto id = static_cast<int>(item.get_global_id(0));
                    const int first = static_cast<int>(item.get_group(0) * local);
                    const int last = first + static_cast<int>(local) - 1;
                    const int sum = sycl::reduce_over_group(over, id, sycl::plus<int>());
                    const int from_ten = sycl::reduce_over_group(over, id, 10, sycl::plus<>());
                    const int low = sycl::reduce_over_group(over, id, sycl::minimum<int>());
                    const int high = sycl::reduce_over_group(over, -id, sycl::maximum<int>());
                    const bool reduced = sum == (first + last) * static_cast<int>(local) / 2 &&
                                         from_ten == sum + 10 && low == first && high == -first;
                    const bool leads = over.leader() == (item.get_local_id(0) == 0);
                    target[item.get_global_id(0)] = placed && reduced && leads ? id : -1;
                });
            });
        }
        std::vector<int> ids(right.size());
        std::iota(ids.begin(), ids.end(), 0);
        EXPECT_EQ(right, ids);
    });
}

TEST_P(kernels, a_sum_has_the_same_bits_on_every_run) {
    const std::size_t n = std::min<std::size_t>(limit, 61);
    std::vector<float> values(n);
    for (std::size_t i = 0; i < n; ++i) {
        values[i] = std::sin(static_cast<float>(i)) * std::pow(10.F, static_cast<float>(i % 9));
    }
    sycl::buffer<float, 1> source(values.begin(), values.end());
    const auto sum = [&] {
        sycl::buffer<float, 1> target{sycl::range<1>(n)};
        queue.submit([&](sycl::handler& group) {
            sycl::accessor in(source, group, sycl::read_only);
            sycl::accessor out(target, group, sycl::write_only);
            group.parallel_for(sycl::nd_range<1>(n, n), [=](sycl::nd_item<1> item) {
                const std::size_t i = item.get_local_id(0);
                out[i] = sycl::reduce_over_group(item.get_group(), in[i], sycl::plus<float>());
            });
        });
        const sycl::host_accessor results(target, sycl::read_only);
        return std::vector<float>(results.begin(), results.end());
    };
    const auto first = sum();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(sum(), first);
    }
}

TEST_P(kernels, a_tile_goes_through_local_memory_and_barriers) {
    for_local_sizes([this](std::size_t local) {
        std::vector<int> values(local * 4);
        std::iota(values.begin(), values.end(), 0);
        std::vector<int> reversed = values;
        for (auto at = reversed.begin(); at != reversed.end(); at += static_cast<std::ptrdiff_t>(local)) {
            std::reverse(at, at + static_cast<std::ptrdiff_t>(local));
        }
        {
            int_buffer data(values.data(), values.size());
            queue.submit([&](sycl::handler& group) {
                sycl::accessor both(data, group, sycl::read_write);
                sycl::local_accessor<int, 1> tile(local, group);
                sycl::local_accessor<int, 1> turned(local, group);
                group.parallel_for(sycl::nd_range<1>(local * 4, local), [=](sycl::nd_item<1> item) {
                    const std::size_t base = item.get_group(0) * local;
                    const std::size_t lane = item.get_local_id(0);
                    item.wait_for(
                        item.async_work_group_copy(tile.get_multi_ptr<sycl::access::decorated::yes>(),
                                                   both.get_multi_ptr<sycl::access::decorated::yes>() +
                                                       static_cast<std::ptrdiff_t>(base),
                                                   local));
                    turned[local - 1 - lane] = tile[lane];
                    sycl::group_barrier(item.get_group());
                    both[base + lane] = turned[lane];
                });
            });
        }
        EXPECT_EQ(values, reversed);
    });
}

TEST_P(kernels, strided_copies_gather_and_scatter) {
    std::vector<int> matrix(12);
    std::iota(matrix.begin(), matrix.end(), 0);
    {
        int_buffer data(matrix.data(), matrix.size());
        queue.submit([&](sycl::handler& group) {
            sycl::accessor both(data, group, sycl::read_write);
            sycl::local_accessor<int, 1> column(4, group);
            group.parallel_for(sycl::nd_range<1>(2, 2), [=](sycl::nd_item<1> item) {
                const auto global = both.get_multi_ptr<sycl::access::decorated::yes>();
                const auto local = column.get_multi_ptr<sycl::access::decorated::yes>();
                item.async_work_group_copy(local, global + 1, 4, 3).wait();
                sycl::group_barrier(item.get_group());
                item.async_work_group_copy(global, local, 4, 3).wait();
            });
        });
    }
    EXPECT_EQ(matrix, (std::vector<int>{1, 1, 2, 4, 4, 5, 7, 7, 8, 10, 10, 11}));
}
