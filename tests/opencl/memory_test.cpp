#include "device.hpp"

#include <gmock/gmock.h>

#include <vector>

namespace {

class opencl_memory : public test::on_opencl {};

TEST_F(opencl_memory, kinds_and_devices_of_pointers_are_known_inside_a_block_only) {
    auto* const shared = sycl::malloc_shared<int>(10, queue);
    auto* const own = sycl::malloc_device<int>(10, queue);
    const auto context = queue.get_context();
    EXPECT_EQ(sycl::get_pointer_type(shared + 9, context), sycl::usm::alloc::shared);
    EXPECT_EQ(sycl::get_pointer_type(own, context), sycl::usm::alloc::device);
    EXPECT_EQ(sycl::get_pointer_type(&context, context), sycl::usm::alloc::unknown);
    EXPECT_EQ(sycl::get_pointer_device(own, context), device);
    sycl::free(shared, queue);
    EXPECT_EQ(sycl::get_pointer_type(shared, context), sycl::usm::alloc::unknown);
    EXPECT_THROW(sycl::free(shared, queue), sycl::exception);
    sycl::free(own, queue);
}

TEST_F(opencl_memory, more_than_the_device_has_is_null) {
    const auto all = device.get_info<sycl::info::device::global_mem_size>();
    EXPECT_EQ(sycl::malloc_device(all * 4, queue), nullptr);
    EXPECT_EQ(sycl::malloc_device(0, queue), nullptr);
    EXPECT_EQ(sycl::malloc_device<double>((std::size_t{1} << 61) + 1, queue), nullptr);
    const std::size_t too_round = std::size_t{1} << 40; // more than the driver's 32 bits say
    EXPECT_EQ(sycl::aligned_malloc(too_round, 8, queue, sycl::usm::alloc::device), nullptr);
}

TEST_F(opencl_memory, copies_and_fills_of_no_bytes_complete) {
    int value = 3;
    queue.memcpy(&value, &value, 0).wait();
    queue.memset(nullptr, 0, 0).wait();
    EXPECT_EQ(value, 3);
}

} // namespace
