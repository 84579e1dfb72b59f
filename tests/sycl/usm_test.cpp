#include "devices.hpp"

class usm : public test::on_every_device {};
ON_EVERY_DEVICE(usm);

TEST_P(usm, every_kind_knows_its_type_and_device) {
    const auto context = queue.get_context();
    for (const auto kind : {sycl::usm::alloc::device, sycl::usm::alloc::shared, sycl::usm::alloc::host}) {
        auto* const memory = sycl::malloc<double>(5, queue, kind);
        ASSERT_NE(memory, nullptr);
        EXPECT_EQ(sycl::get_pointer_type(memory, context), kind);
        EXPECT_EQ(sycl::get_pointer_type(memory + 4, context), kind);
        EXPECT_EQ(sycl::get_pointer_device(memory, context), GetParam());
        sycl::free(memory, queue);
        EXPECT_EQ(sycl::get_pointer_type(memory, context), sycl::usm::alloc::unknown);
        EXPECT_EQ(sycl::malloc<double>((std::size_t{1} << 61) + 1, queue, kind), nullptr) << "2^64 + 8 bytes";
    }
    int foreign = 0;
    EXPECT_EQ(sycl::get_pointer_type(&foreign, context), sycl::usm::alloc::unknown);
    test::expect_refused(sycl::errc::invalid, "", [&] { (void)sycl::get_pointer_device(&foreign, context); });
    EXPECT_EQ(sycl::malloc_device<int>(0, queue), nullptr);
    EXPECT_EQ(sycl::malloc_device(std::size_t{1} << 60, queue), nullptr);
    sycl::free(nullptr, queue);
}

TEST_P(usm, copies_and_fills_follow_their_dependencies) {
    int* const device = sycl::malloc_device<int>(6, queue);
    std::vector<int> host{1, 2, 3, 4, 5, 6};
    const auto in = queue.copy(host.data(), device, 6);
    const auto filled = queue.fill(device + 2, 9, 2, {in});
    const auto zeroed = queue.memset(device + 5, 0, sizeof(int), {filled});
    queue.memcpy(host.data(), device, 6 * sizeof(int), {zeroed}).wait();
    EXPECT_EQ(host, (std::vector<int>{1, 2, 9, 9, 5, 0}));
    sycl::free(device, queue);
}
