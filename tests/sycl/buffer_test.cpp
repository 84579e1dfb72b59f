#include "devices.hpp"

#include <future>
#include <memory>
#include <numeric>

using test::in_kernel;
using test::int_buffer;

namespace {

const auto add_one = [](int& x) { x += 1; };

} // namespace

class buffers : public test::on_every_device {};
ON_EVERY_DEVICE(buffers);

TEST_P(buffers, write_back_where_they_may_and_leave_other_memory_alone) {
    const std::vector<int> constant{1, 2, 3};
    std::vector<int> host = constant;
    std::vector<int> kept = constant;
    std::vector<int> result(3);
    {
        int_buffer data(host.data(), host.size());
        const int_buffer second = data;
        in_kernel(queue, data, add_one);
        int_buffer of_iterators(constant.begin(), constant.end());
        of_iterators.set_final_data(result.begin());
        in_kernel(queue, of_iterators, add_one);
        int_buffer of_constant(constant.data(), constant.size());
        in_kernel(queue, of_constant, add_one);
        int_buffer not_written(kept.data(), kept.size());
        not_written.set_write_back(false);
        in_kernel(queue, not_written, add_one);
    }
    EXPECT_EQ(host, (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(result, (std::vector<int>{2, 3, 4}));
    EXPECT_EQ(constant, (std::vector<int>{1, 2, 3}));
    if (GetParam().get_backend() != sycl::backend::host) {
        EXPECT_EQ(kept, constant);
    }
}

TEST_P(buffers, of_size_zero_are_legal_everywhere) {
    int_buffer nothing{sycl::range<1>(0)};
    EXPECT_EQ(nothing.size(), 0U);
    queue.submit([&](sycl::handler& group) {
        sycl::accessor target(nothing, group, sycl::read_write);
        group.single_task([=] { (void)target.size(); });
    });
    EXPECT_TRUE(sycl::host_accessor(nothing).empty());
}

TEST_P(buffers, larger_than_any_memory_are_refused_with_their_size) {
    const std::pair<std::size_t, std::string> cases[] = {
        {(std::size_t{1} << 62) + 1, "2^64 or more bytes"}, // 4 bytes, if the product wraps around
        {std::size_t{1} << 61, "9223372036854775808 bytes"}};
    int value = 1;
    for (const auto& [count, words] : cases) {
        const auto expect_no_memory = [words = words](const auto& call) {
            test::expect_refused(sycl::errc::memory_allocation, words, call);
        };
        const sycl::range<1> extent(count);
        expect_no_memory([&] { int_buffer(&value, extent); });
        expect_no_memory([&] { int_buffer(const_cast<const int*>(&value), extent); });
        int_buffer unused(extent);
        expect_no_memory([&] { unused.set_final_data(&value); });
        expect_no_memory([&] { (void)sycl::host_accessor(unused); });
        expect_no_memory([&] { in_kernel(queue, unused, add_one); });
    }
    {
        int_buffer data(&value, 1);
        in_kernel(queue, data, add_one);
    }
    EXPECT_EQ(value, 2);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which end the program
TEST_P(buffers, larger_than_the_memory_there_is_are_refused_with_their_size) {
    int_buffer data{sycl::range<1>(std::size_t{1} << 45)};
    for (const bool on_host : {true, false}) {
        test::expect_refused(sycl::errc::memory_allocation, "140737488355328 bytes", [&] {
            on_host ? (void)sycl::host_accessor(data) : (void)in_kernel(queue, data, add_one);
        });
    }
}
#endif

TEST_P(buffers, move_between_the_memories_of_devices) {
    std::vector<int> host(100);
    std::iota(host.begin(), host.end(), 0);
    sycl::queue other(test::gpu_with_limit(16));
    {
        int_buffer data(host.data(), host.size());
        for (int round = 0; round < 3; ++round) {
            in_kernel(queue, data, add_one);
            in_kernel(other, data, [](int& x) { x *= 2; });
            sycl::host_accessor(data)[0] += 100;
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
    int_buffer result{sycl::range<1>(1)};
    test::held hold(device);
    sycl::event last;
    {
        int_buffer scratch{sycl::range<1>(1000)};
        in_kernel(queue, scratch, [](int& x) { x = 5; });
        last = queue.submit([&](sycl::handler& group) {
            sycl::accessor source(scratch, group, sycl::read_only);
            sycl::accessor target(result, group, sycl::write_only, sycl::no_init);
            group.single_task([=] { target[0] = source[999]; });
        });
    }
    EXPECT_FALSE(test::complete(last));
    hold.release();
    EXPECT_EQ(test::first_of(result), 5);
}

TEST(buffer_lifetime, a_host_accessor_keeps_later_commands_waiting) {
    sycl::queue queue(test::gpu_with_limit(8));
    int_buffer data{sycl::range<1>(1)};
    {
        sycl::host_accessor on_host(data, sycl::write_only, sycl::no_init);
        EXPECT_FALSE(test::complete(in_kernel(queue, data, add_one)));
        on_host[0] = 5;
    }
    EXPECT_EQ(test::first_of(data), 6);
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
        auto data = std::make_unique<int_buffer>(&host, 1);
        data->set_final_data(announcing_iterator{&announced});
        test::held hold(queue.get_device());
        const auto first = in_kernel(queue, *data, add_one);
        test::in_host_task(queue, [keep = *data] {}, {first});
        data.reset();
    }
    EXPECT_EQ(announced.get_future().get(), 2);
}
