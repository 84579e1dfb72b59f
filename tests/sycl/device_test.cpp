#include "devices.hpp"

#include <algorithm>
#include <unordered_set>

namespace info = sycl::info::device;

TEST(device_list, holds_the_cpu_and_the_software_gpus_as_they_are_described) {
    auto desc = test::default_desc();
    desc.type = BS_DEVICE_ACCELERATOR;
    desc.max_work_group_size = 24;
    desc.local_memory_bytes = 4096;
    desc.n_threads = 1;
    std::string("board").copy(desc.name, sizeof desc.name - 1);
    const auto made = test::add_device(desc);
    const auto all = sycl::device::get_devices();
    EXPECT_NE(std::find(all.begin(), all.end(), made), all.end());
    EXPECT_EQ(std::count_if(all.begin(), all.end(),
                            [](const auto& each) { return each.get_backend() == sycl::backend::host; }),
              1);
    EXPECT_EQ(std::unordered_set<sycl::device>(all.begin(), all.end()).size(), all.size());
    EXPECT_TRUE(made.is_accelerator() && made.has(sycl::aspect::accelerator));
    EXPECT_FALSE(made.is_cpu() || made.is_gpu());
    EXPECT_EQ(made.get_info<info::name>(), "board");
    EXPECT_EQ(made.get_info<info::max_work_group_size>(), 24U);
    EXPECT_EQ(made.get_info<info::local_mem_size>(), 4096U);
    EXPECT_EQ(made.get_info<info::max_compute_units>(), 1U);
}

TEST(selectors, choose_by_type_rating_and_aspect) {
    for (const auto& each : sycl::device::get_devices(sycl::info::device_type::gpu)) {
        EXPECT_TRUE(each.is_gpu() && !each.is_cpu());
    }
    EXPECT_TRUE(sycl::device(sycl::gpu_selector_v).is_gpu());
    EXPECT_TRUE(sycl::device(sycl::cpu_selector_v).is_cpu());
    EXPECT_EQ(sycl::device(), sycl::device(sycl::default_selector_v));
    EXPECT_TRUE(sycl::device(sycl::aspect_selector({sycl::aspect::gpu})).is_gpu());
    const auto wanted = test::gpu_with_limit(13);
    const auto by_limit = [](const sycl::device& each) { return test::limit_of(each) == 13 ? 10 : -1; };
    EXPECT_EQ(test::limit_of(sycl::queue(by_limit).get_device()), 13U);
    test::expect_refused(sycl::errc::runtime, "", [] { sycl::device([](const auto&) { return -1; }); });
}

TEST(contexts, compare_by_identity_and_queues_without_one_share_one_for_each_device) {
    const auto a = test::gpu_with_limit(2);
    const auto b = test::gpu_with_limit(3);
    const sycl::context both(std::vector<sycl::device>{a, b});
    EXPECT_EQ(both.get_devices(), (std::vector<sycl::device>{a, b}));
    const sycl::context copy = both; // NOLINT(performance-unnecessary-copy-initialization): the point
    EXPECT_EQ(copy, both);
    EXPECT_EQ(sycl::queue(both, b).get_device(), b);
    EXPECT_EQ(sycl::queue(both, b).get_context(), both);

    const sycl::queue first(a);
    const sycl::queue second(a, sycl::property::queue::in_order());
    EXPECT_EQ(first.get_context(), second.get_context());
    EXPECT_NE(first.get_context(), sycl::context(a)) << "a context asked for is a new one";
    EXPECT_NE(first.get_context(), sycl::queue(b).get_context());
    auto* const memory = sycl::malloc_shared<int>(1, first);
    EXPECT_EQ(sycl::get_pointer_type(memory, second.get_context()), sycl::usm::alloc::shared);
    sycl::free(memory, second);
}
