#include "devices.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

class kernels : public test::on_every_device {
protected:
    std::size_t limit = GetParam().get_info<sycl::info::device::max_work_group_size>();

    /// Local sizes worth trying, within the device's limit.
    std::vector<std::size_t> local_sizes() const {
        std::vector<std::size_t> result;
        for (const std::size_t size : {1UL, 2UL, 3UL, 4UL, 7UL, 33UL, 64UL}) {
            if (size <= limit) {
                result.push_back(size);
            }
        }
        return result;
    }
};
ON_EVERY_DEVICE(kernels);

TEST_P(kernels, work_items_know_where_they_are) {
    for (const std::size_t local : local_sizes()) {
        const std::size_t groups = 5;
        std::vector<std::size_t> seen(local * groups);
        {
            sycl::buffer<std::size_t, 1> data(seen.data(), seen.size());
            queue.submit([&](sycl::handler& group) {
                sycl::accessor target(data, group, sycl::write_only);
                group.parallel_for(sycl::nd_range<1>(local * groups, local), [=](sycl::nd_item<1> item) {
                    const bool consistent =
                        item.get_local_range(0) == local && item.get_group_range(0) == groups &&
                        item.get_global_range(0) == local * groups &&
                        item.get_global_id(0) == item.get_group(0) * local + item.get_local_id(0);
                    target[item.get_global_id(0)] = consistent ? item.get_global_id(0) + 1 : 0;
                });
            });
        }
        for (std::size_t i = 0; i < seen.size(); ++i) {
            EXPECT_EQ(seen[i], i + 1) << "local size " << local;
        }
    }
}

TEST_P(kernels, reductions_give_every_work_item_the_result) {
    for (const std::size_t local : local_sizes()) {
        const std::size_t groups = 9;
        std::vector<int> bad(groups, -1);
        {
            sycl::buffer<int, 1> result(bad.data(), groups);
            queue.submit([&](sycl::handler& group) {
                sycl::accessor target(result, group, sycl::write_only);
                group.parallel_for(sycl::nd_range<1>(local * groups, local), [=](sycl::nd_item<1> item) {
                    const auto over = item.get_group();
                    const auto id = static_cast<int>(item.get_global_id(0));
                    const int first = static_cast<int>(item.get_group(0) * local);
                    const int last = first + static_cast<int>(local) - 1;
                    const int sum = sycl::reduce_over_group(over, id, sycl::plus<int>());
                    const int from_ten = sycl::reduce_over_group(over, id, 10, sycl::plus<>());
                    const int low = sycl::reduce_over_group(over, id, sycl::minimum<int>());
                    const int high = sycl::reduce_over_group(over, -id, sycl::maximum<int>());
                    const auto several = sycl::reduce_over_group(over, sycl::marray<int, 3>(id, 1, -id),
                                                                 sycl::marray<int, 3>(5), sycl::plus<>());
                    const bool right = sum == (first + last) * static_cast<int>(local) / 2 &&
                                       from_ten == sum + 10 && low == first && high == -first &&
                                       several[0] == sum + 5 && several[1] == static_cast<int>(local) + 5 &&
                                       several[2] == 5 - sum;
                    const int wrong = sycl::reduce_over_group(over, right ? 0 : 1, sycl::plus<int>());
                    if (over.leader()) {
                        target[item.get_group(0)] = wrong;
                    }
                });
            });
        }
        EXPECT_EQ(bad, std::vector<int>(groups, 0)) << "local size " << local;
    }
}

TEST_P(kernels, a_sum_has_the_same_bits_on_every_run) {
    const std::size_t n = std::min<std::size_t>(limit, 61);
    std::vector<float> values(n);
    for (std::size_t i = 0; i < n; ++i) {
        values[i] = std::sin(static_cast<float>(i)) * std::pow(10.F, static_cast<float>(i % 9));
    }
    const auto sum = [&] {
        float result = 0;
        sycl::buffer<float, 1> source(values.data(), n);
        {
            sycl::buffer<float, 1> target(&result, 1);
            queue.submit([&](sycl::handler& group) {
                sycl::accessor in(source, group, sycl::read_only);
                sycl::accessor out(target, group, sycl::write_only);
                group.parallel_for(sycl::nd_range<1>(n, n), [=](sycl::nd_item<1> item) {
                    const float s = sycl::reduce_over_group(item.get_group(), in[item.get_local_id(0)],
                                                            sycl::plus<float>());
                    if (item.get_local_id(0) == 0) {
                        out[0] = s;
                    }
                });
            });
        }
        return result;
    };
    const float first = sum();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(sum(), first);
    }
}

TEST_P(kernels, a_tile_goes_through_local_memory_and_barriers) {
    for (const std::size_t local : local_sizes()) {
        const std::size_t groups = 4;
        std::vector<int> source(local * groups);
        std::iota(source.begin(), source.end(), 0);
        std::vector<int> reversed(source.size());
        {
            sycl::buffer<int, 1> in(source.data(), source.size());
            sycl::buffer<int, 1> out(reversed.data(), reversed.size());
            queue.submit([&](sycl::handler& group) {
                sycl::accessor from(in, group, sycl::read_only);
                sycl::accessor to(out, group, sycl::write_only);
                sycl::local_accessor<int, 1> tile(local, group);
                sycl::local_accessor<int, 1> turned(local, group);
                group.parallel_for(sycl::nd_range<1>(local * groups, local), [=](sycl::nd_item<1> item) {
                    const std::size_t base = item.get_group(0) * local;
                    const std::size_t lane = item.get_local_id(0);
                    const auto copy =
                        item.async_work_group_copy(tile.get_multi_ptr<sycl::access::decorated::yes>(),
                                                   from.get_multi_ptr<sycl::access::decorated::yes>() +
                                                       static_cast<std::ptrdiff_t>(base),
                                                   local);
                    item.wait_for(copy);
                    turned[local - 1 - lane] = tile[lane];
                    sycl::group_barrier(item.get_group());
                    to[base + lane] = turned[lane];
                });
            });
        }
        for (std::size_t g = 0; g < groups; ++g) {
            std::reverse(source.begin() + static_cast<std::ptrdiff_t>(g * local),
                         source.begin() + static_cast<std::ptrdiff_t>((g + 1) * local));
        }
        EXPECT_EQ(reversed, source) << "local size " << local;
    }
}

TEST_P(kernels, strided_copies_gather_and_scatter) {
    std::vector<int> matrix(12);
    std::iota(matrix.begin(), matrix.end(), 0);
    {
        sycl::buffer<int, 1> data(matrix.data(), matrix.size());
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

struct named_kernel;
struct by_name {
    int* target;
    void operator()(sycl::nd_item<1>) const { *target = 3; }
};

TEST_P(kernels, may_be_named_by_a_type_that_is_only_declared) {
    int* const value = sycl::malloc_shared<int>(1, queue);
    queue.parallel_for<named_kernel>(sycl::nd_range<1>(1, 1), by_name{value}).wait();
    EXPECT_EQ(*value, 3);
    sycl::free(value, queue);
}
