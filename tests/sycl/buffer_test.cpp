#include "devices.hpp"

#include <future>
#include <memory>
#include <numeric>

class buffers : public test::on_every_device {
protected:
    /// Adds \p step to every element, in a kernel.
    sycl::event add(sycl::buffer<int, 1>& data, int step) {
        return queue.submit([&](sycl::handler& group) {
            sycl::accessor target(data, group, sycl::read_write);
            group.parallel_for(sycl::nd_range<1>(data.size(), 1),
                               [=](sycl::nd_item<1> item) { target[item.get_global_id(0)] += step; });
        });
    }
};
ON_EVERY_DEVICE(buffers);

TEST_P(buffers, host_memory_holds_the_results_when_the_last_handle_goes) {
    std::vector<int> host{1, 2, 3};
    {
        sycl::buffer<int, 1> data(host.data(), host.size());
        const sycl::buffer<int, 1> second = data;
        add(data, 10);
    }
    EXPECT_EQ(host, (std::vector<int>{11, 12, 13}));
}

TEST_P(buffers, constant_memory_and_iterators_are_copied_and_left_alone) {
    const std::vector<int> host{1, 2, 3};
    std::vector<int> result(3);
    {
        sycl::buffer<int, 1> data(host.begin(), host.end());
        data.set_final_data(result.begin());
        add(data, 1);
        sycl::buffer<int, 1> copy(host.data(), host.size());
        add(copy, 1);
    }
    EXPECT_EQ(host, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(result, (std::vector<int>{2, 3, 4}));
}

TEST_P(buffers, without_write_back_the_memory_keeps_nothing_of_a_device) {
    std::vector<int> host{1};
    {
        sycl::buffer<int, 1> data(host.data(), 1);
        data.set_write_back(false);
        add(data, 1);
    }
    if (GetParam().get_backend() != sycl::backend::host) {
        EXPECT_EQ(host[0], 1);
    }
}

TEST_P(buffers, of_size_zero_are_legal_everywhere) {
    sycl::buffer<int, 1> nothing{sycl::range<1>(0)};
    EXPECT_EQ(nothing.size(), 0U);
    queue.submit([&](sycl::handler& group) {
        sycl::accessor target(nothing, group, sycl::read_write);
        group.single_task([=] { (void)target.size(); });
    });
    EXPECT_TRUE(sycl::host_accessor(nothing).empty());
}

TEST_P(buffers, move_between_the_memories_of_devices) {
    std::vector<int> host(100);
    std::iota(host.begin(), host.end(), 0);
    sycl::queue other(test::gpu_with_limit(16));
    {
        sycl::buffer<int, 1> data(host.data(), host.size());
        for (int round = 0; round < 3; ++round) {
            add(data, 1);
            other.submit([&](sycl::handler& group) {
                sycl::accessor target(data, group, sycl::read_write);
                group.parallel_for(sycl::nd_range<1>(100, 10),
                                   [=](sycl::nd_item<1> item) { target[item.get_global_id(0)] *= 2; });
            });
            sycl::host_accessor on_host(data);
            on_host[0] += 100;
        }
    }
    // ((((i + 1) 2 + 1) 2) + 1) 2, and what the host added on the way
    EXPECT_EQ(host[1], 22);
    EXPECT_EQ(host[99], 806);
    EXPECT_EQ(host[0], ((100 + 2 + 1) * 2 + 100 + 1) * 2 + 100);
}

TEST(buffer_lifetime, a_buffer_from_a_range_goes_without_waiting) {
    const auto device = test::gpu_with_limit(8);
    sycl::queue queue(device);
    sycl::buffer<int, 1> result{sycl::range<1>(1)};
    test::held hold(device);
    sycl::event last;
    {
        sycl::buffer<int, 1> scratch{sycl::range<1>(1000)};
        queue.submit([&](sycl::handler& group) {
            sycl::accessor target(scratch, group, sycl::write_only, sycl::no_init);
            group.single_task([=] { target[999] = 5; });
        });
        last = queue.submit([&](sycl::handler& group) {
            sycl::accessor source(scratch, group, sycl::read_only);
            sycl::accessor target(result, group, sycl::write_only, sycl::no_init);
            group.single_task([=] { target[0] = source[999]; });
        });
    }
    EXPECT_FALSE(test::complete(last));
    hold.release();
    EXPECT_EQ(sycl::host_accessor(result)[0], 5);
}

TEST(buffer_lifetime, a_host_accessor_keeps_later_commands_waiting) {
    sycl::queue queue(test::gpu_with_limit(8));
    sycl::buffer<int, 1> data{sycl::range<1>(1)};
    sycl::event later;
    {
        sycl::host_accessor on_host(data, sycl::write_only, sycl::no_init);
        later = queue.submit([&](sycl::handler& group) {
            sycl::accessor target(data, group, sycl::read_write);
            group.single_task([=] { target[0] += 1; });
        });
        EXPECT_FALSE(test::complete(later));
        on_host[0] = 5;
    }
    EXPECT_EQ(sycl::host_accessor(data, sycl::read_only)[0], 6);
}

/// An output iterator that tells what was written to it.
struct announcing_iterator {
    using iterator_category = std::output_iterator_tag;
    using value_type = void;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = void;

    std::promise<int>* announced;

    announcing_iterator& operator*() { return *this; }
    announcing_iterator& operator++() { return *this; }
    announcing_iterator operator++(int) { return *this; }
    announcing_iterator& operator=(int value) {
        announced->set_value(value);
        return *this;
    }
};

TEST(buffer_lifetime, a_closure_may_hold_the_last_handle) {
    sycl::queue queue(test::gpu_with_limit(8));
    std::promise<int> announced;
    int host = 1;
    {
        auto data = std::make_unique<sycl::buffer<int, 1>>(&host, 1);
        data->set_final_data(announcing_iterator{&announced});
        test::held hold(queue.get_device());
        const auto first = queue.submit([&](sycl::handler& group) {
            sycl::accessor target(*data, group, sycl::read_write);
            group.single_task([=] { target[0] += 1; });
        });
        queue.submit([&](sycl::handler& group) {
            group.depends_on(first);
            group.host_task([keep = *data] {});
        });
        data.reset();
    }
    EXPECT_EQ(announced.get_future().get(), 2);
}
