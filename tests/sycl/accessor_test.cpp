#include "devices.hpp"

using read_write_accessor = sycl::accessor<int, 1, sycl::access::mode::read_write, sycl::target::device>;
using test::int_buffer;

class accessors : public test::on_every_device {};
ON_EVERY_DEVICE(accessors);

TEST_P(accessors, a_placeholder_works_once_it_is_required_and_is_refused_before) {
    int_buffer data{sycl::range<1>(1)};
    const read_write_accessor placeholder(data);
    EXPECT_TRUE(placeholder.is_placeholder());
    queue.submit([&](sycl::handler& group) {
        group.require(placeholder);
        group.single_task([placeholder] { placeholder[0] = 42; });
    });
    EXPECT_EQ(test::first_of(data), 42);
    test::expect_refused(sycl::errc::kernel_argument, "require",
                         [&] { queue.single_task([placeholder] { placeholder[0] = 1; }); });
    test::expect_refused(sycl::errc::accessor, "", [&] {
        queue.submit([&](sycl::handler& group) { group.require(read_write_accessor()); });
    });
}

TEST_P(accessors, one_buffer_may_be_required_for_reading_and_for_writing) {
    int_buffer data{sycl::range<1>(1)};
    queue.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::write_only, sycl::no_init);
        group.single_task([=] { target[0] = 20; });
    });
    queue.submit([&](sycl::handler& group) {
        sycl::accessor source(data, group, sycl::read_only);
        sycl::accessor target(data, group, sycl::write_only);
        group.single_task([=] { target[0] = source[0] + 1; });
    });
    EXPECT_EQ(test::first_of(data), 21);
}

TEST_P(accessors, copies_and_fills_go_through_accessors) {
    int_buffer a{sycl::range<1>(4)};
    int_buffer b{sycl::range<1>(4)};
    std::vector<int> host(4);
    queue.submit([&](sycl::handler& group) { group.fill(read_write_accessor(a, group), 7); });
    queue.submit([&](sycl::handler& group) {
        group.copy(sycl::accessor(a, group, sycl::read_only), sycl::accessor(b, group, sycl::write_only));
    });
    auto last = queue.submit(
        [&](sycl::handler& group) { group.copy(sycl::accessor(b, group, sycl::read_only), host.data()); });
    last.wait();
    EXPECT_EQ(host, std::vector<int>(4, 7));
}
