#include "devices.hpp"

#include <algorithm>
#include <unordered_set>

TEST(device_list, holds_the_cpu_and_the_software_gpus) {
    const auto made = test::gpu_with_limit(12);
    const auto all = sycl::device::get_devices();
    EXPECT_NE(std::find(all.begin(), all.end(), made), all.end());
    EXPECT_EQ(std::count_if(all.begin(), all.end(),
                            [](const auto& each) { return each.get_backend() == sycl::backend::host; }),
              1);
    for (const auto& each : sycl::device::get_devices(sycl::info::device_type::gpu)) {
        EXPECT_TRUE(each.is_gpu());
        EXPECT_FALSE(each.is_cpu());
    }
    const std::unordered_set<sycl::device> distinct(all.begin(), all.end());
    EXPECT_EQ(distinct.size(), all.size());
}

TEST(device_list, a_device_tells_what_it_is) {
    auto desc = test::described();
    desc.type = BS_DEVICE_ACCELERATOR;
    desc.max_work_group_size = 24;
    desc.local_memory_bytes = 4096;
    desc.n_threads = 1;
    std::string("board").copy(desc.name, sizeof desc.name - 1);
    const auto device = test::software_gpu(desc);
    EXPECT_TRUE(device.is_accelerator());
    EXPECT_FALSE(device.is_cpu() || device.is_gpu());
    EXPECT_EQ(device.get_info<sycl::info::device::name>(), "board");
    EXPECT_EQ(device.get_info<sycl::info::device::max_work_group_size>(), 24U);
    EXPECT_EQ(device.get_info<sycl::info::device::local_mem_size>(), 4096U);
    EXPECT_EQ(device.get_info<sycl::info::device::max_compute_units>(), 1U);
    EXPECT_TRUE(device.has(sycl::aspect::fp64));
    EXPECT_TRUE(device.has(sycl::aspect::accelerator));
    EXPECT_EQ(device.get_info<sycl::info::device::platform>(), device.get_platform());
}

TEST(selectors, choose_by_type_rating_and_aspect) {
    EXPECT_TRUE(sycl::device(sycl::gpu_selector_v).is_gpu());
    EXPECT_TRUE(sycl::device(sycl::cpu_selector_v).is_cpu());
    EXPECT_EQ(sycl::device(), sycl::device(sycl::default_selector_v));
    const auto wanted = test::gpu_with_limit(13);
    const auto by_limit = [](const sycl::device& each) {
        return each.get_info<sycl::info::device::max_work_group_size>() == 13 ? 10 : -1;
    };
    EXPECT_EQ(sycl::queue(by_limit).get_device(), sycl::device(by_limit));
    EXPECT_EQ(sycl::device(by_limit).get_info<sycl::info::device::max_work_group_size>(), 13U);
    EXPECT_TRUE(sycl::device(sycl::aspect_selector({sycl::aspect::gpu})).is_gpu());
    test::message_of(sycl::errc::runtime, [] { sycl::device([](const sycl::device&) { return -1; }); });
}

TEST(contexts, know_their_devices_and_compare_by_identity) {
    const auto a = test::gpu_with_limit(2);
    const auto b = test::gpu_with_limit(3);
    const sycl::context both(std::vector<sycl::device>{a, b});
    EXPECT_EQ(both.get_devices(), (std::vector<sycl::device>{a, b}));
    EXPECT_EQ(both.get_info<sycl::info::context::devices>().size(), 2U);
    const sycl::context copy =
        both; // NOLINT(performance-unnecessary-copy-initialization): a copy is the point
    EXPECT_EQ(copy, both);
    EXPECT_NE(sycl::context(a), both);
    EXPECT_EQ(sycl::queue(both, b).get_device(), b);
    EXPECT_EQ(sycl::queue(both, b).get_context(), both);
}

TEST(contexts, of_queues_made_without_one_are_one_for_each_device) {
    const auto a = test::gpu_with_limit(2);
    const sycl::queue first(a);
    const sycl::queue second(a, sycl::property::queue::in_order());
    EXPECT_EQ(first.get_context(), second.get_context());
    EXPECT_NE(first.get_context(), sycl::context(a)) << "a context asked for is a new one";
    EXPECT_NE(first.get_context(), sycl::queue(test::gpu_with_limit(3)).get_context());
    auto* const memory = sycl::malloc_shared<int>(1, first);
    EXPECT_EQ(sycl::get_pointer_type(memory, second.get_context()), sycl::usm::alloc::shared);
    sycl::free(memory, second);
}
