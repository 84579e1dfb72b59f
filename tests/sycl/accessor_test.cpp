#include "devices.hpp"

using read_write_accessor = sycl::accessor<int, 1, sycl::access::mode::read_write, sycl::target::device>;

class accessors : public test::on_every_device {};
ON_EVERY_DEVICE(accessors);

TEST_P(accessors, a_placeholder_works_once_it_is_required) {
    sycl::buffer<int, 1> data{sycl::range<1>(3)};
    const read_write_accessor placeholder(data);
    EXPECT_TRUE(placeholder.is_placeholder());
    queue.submit([&](sycl::handler& group) {
        group.require(placeholder);
        group.single_task([placeholder] { placeholder[2] = 42; });
    });
    EXPECT_EQ(sycl::host_accessor(data, sycl::read_only)[2], 42);
}

TEST_P(accessors, a_placeholder_that_nobody_required_is_refused) {
    sycl::buffer<int, 1> data{sycl::range<1>(3)};
    const read_write_accessor placeholder(data);
    const auto message = test::message_of(sycl::errc::kernel_argument, [&] {
        queue.submit([&](sycl::handler& group) { group.single_task([placeholder] { placeholder[0] = 1; }); });
    });
    EXPECT_NE(message.find("require"), std::string::npos) << message;
}

TEST_P(accessors, an_accessor_without_a_buffer_is_refused) {
    test::message_of(sycl::errc::accessor, [&] {
        queue.submit([&](sycl::handler& group) { group.require(read_write_accessor()); });
    });
}

TEST_P(accessors, one_buffer_may_be_required_for_reading_and_for_writing) {
    sycl::buffer<int, 1> data{sycl::range<1>(1)};
    queue.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::write_only, sycl::no_init);
        group.single_task([=] { target[0] = 20; });
    });
    queue.submit([&](sycl::handler& group) {
        sycl::accessor source(data, group, sycl::read_only);
        sycl::accessor target(data, group, sycl::write_only);
        group.single_task([=] { target[0] = source[0] + 1; });
    });
    EXPECT_EQ(sycl::host_accessor(data)[0], 21);
}

TEST_P(accessors, copies_and_fills_go_through_accessors) {
    sycl::buffer<int, 1> a{sycl::range<1>(4)};
    sycl::buffer<int, 1> b{sycl::range<1>(4)};
    std::vector<int> host(4);
    queue.submit([&](sycl::handler& group) { group.fill(read_write_accessor(a, group), 7); });
    queue.submit([&](sycl::handler& group) {
        group.copy(sycl::accessor(a, group, sycl::read_only), sycl::accessor(b, group, sycl::write_only));
    });
    queue
        .submit(
            [&](sycl::handler& group) { group.copy(sycl::accessor(b, group, sycl::read_only), host.data()); })
        .wait();
    EXPECT_EQ(host, std::vector<int>(4, 7));
}

TEST_P(accessors, a_host_task_uses_the_contents_where_the_device_left_them) {
    sycl::buffer<int, 1> data{sycl::range<1>(1)};
    int seen = 0;
    queue.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::write_only, sycl::no_init);
        group.single_task([=] { target[0] = 9; });
    });
    queue.submit([&](sycl::handler& group) {
        sycl::accessor source(data, group, sycl::read_only);
        group.host_task([=, &seen] { seen = source[0]; });
    });
    queue.wait();
    EXPECT_EQ(seen, 9);
}

TEST(accessor_types, tags_deduce_mode_and_constness) {
    sycl::buffer<float, 1> data{sycl::range<1>(5)};
    sycl::accessor all(data);
    static_assert(std::is_same_v<decltype(all), sycl::accessor<float, 1, sycl::access_mode::read_write>>);
    sycl::accessor constant(data, sycl::read_only);
    static_assert(std::is_same_v<decltype(constant[0]), const float&>);
    EXPECT_EQ(constant.size(), 5U);
    EXPECT_EQ(constant.byte_size(), 20U);
}
