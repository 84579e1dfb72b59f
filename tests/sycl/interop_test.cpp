#include "devices.hpp"

using sycl::backend;
namespace basalt = sycl::ext::aurelo::basalt;

namespace {

constexpr auto soft = backend::ext_aurelo_basalt;

struct natives {
    sycl::device device = test::gpu_with_limit(8);
    bs_device_handle_t native_device = sycl::get_native<soft>(device);
    bs_platform_handle_t platform = sycl::get_native<soft>(device.get_platform());
    bs_context_handle_t context = nullptr;

    natives() { EXPECT_EQ(bs_context_create(platform, 1, &native_device, &context), BS_SUCCESS); }
    ~natives() { EXPECT_EQ(bs_context_destroy(context), BS_SUCCESS) << bs_last_error(); }
};

} // namespace

TEST(interop, platforms_and_devices_come_back_as_the_same_objects) {
    const natives native;
    const auto platform = basalt::make_platform(native.platform);
    EXPECT_EQ(platform, native.device.get_platform());
    EXPECT_EQ(basalt::make_device(platform, native.native_device), native.device);
    test::message_of(sycl::errc::invalid, [&] { basalt::make_platform(nullptr); });
    test::message_of(sycl::errc::invalid, [&] { basalt::make_device(platform, nullptr); });
    test::message_of(sycl::errc::backend_mismatch,
                     [&] { (void)sycl::get_native<soft>(sycl::device(sycl::cpu_selector_v)); });
}

TEST(interop, queues_of_both_native_kinds_run_commands_and_keep_the_handles) {
    const natives native;
    bs_command_queue_handle_t native_queue = nullptr;
    bs_command_list_handle_t native_list = nullptr;
    ASSERT_EQ(bs_command_queue_create(native.context, native.native_device, 1, &native_queue), BS_SUCCESS);
    ASSERT_EQ(bs_command_list_create_immediate(native.context, native.native_device, 1, &native_list),
              BS_SUCCESS);
    {
        const auto context =
            sycl::make_context<soft>({native.context, {native.device}, basalt::ownership::keep});
        EXPECT_EQ(sycl::get_native<soft>(context), native.context);
        for (const basalt::queue_handle handle :
             {basalt::queue_handle(native_queue), basalt::queue_handle(native_list)}) {
            sycl::queue queue =
                sycl::make_queue<soft>({handle, native.device, basalt::ownership::keep}, context);
            EXPECT_EQ(sycl::get_native<soft>(queue), handle);
            int* const value = sycl::malloc_shared<int>(1, queue);
            auto event = queue.single_task([=] { *value = 5; });
            EXPECT_EQ(event.get_backend(), soft);
            event.wait();
            EXPECT_EQ(*value, 5);
            sycl::free(value, queue);
        }
    }
    EXPECT_EQ(bs_command_queue_destroy(native_queue), BS_SUCCESS);
    EXPECT_EQ(bs_command_list_destroy(native_list), BS_SUCCESS);
}

TEST(interop, a_native_command_is_ordered_with_those_of_the_queue_around_it) {
    const natives native;
    bs_command_queue_handle_t native_queue = nullptr;
    ASSERT_EQ(bs_command_queue_create(native.context, native.native_device, 1, &native_queue), BS_SUCCESS);
    int value = 1;
    int seen = 0;
    {
        const auto context =
            sycl::make_context<soft>({native.context, {native.device}, basalt::ownership::keep});
        sycl::queue queue =
            sycl::make_queue<soft>({native_queue, native.device, basalt::ownership::keep}, context);
        test::held hold(native.device);
        queue.single_task([&value] { value = 2; });
        bs_command_t copy{};
        copy.copy = {&seen, &value, sizeof value};
        ASSERT_EQ(bs_command_queue_submit(native_queue, &copy), BS_SUCCESS);
        auto last = queue.single_task([&value] { value = 3; });
        hold.release();
        last.wait();
    }
    EXPECT_EQ(bs_command_queue_destroy(native_queue), BS_SUCCESS);
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(value, 3);
}

TEST(interop, null_handles_and_foreign_devices_are_refused) {
    const natives native;
    const sycl::device cpu(sycl::cpu_selector_v);
    test::message_of(sycl::errc::invalid, [&] { sycl::make_context<soft>({nullptr, {native.device}}); });
    test::message_of(sycl::errc::invalid, [&] {
        sycl::make_context<soft>({native.context, {}, basalt::ownership::keep});
    });
    test::message_of(sycl::errc::backend_mismatch, [&] {
        sycl::make_context<soft>({native.context, {cpu}, basalt::ownership::keep});
    });
    const sycl::context context(native.device);
    test::message_of(sycl::errc::invalid, [&] {
        sycl::make_queue<soft>(
            {basalt::queue_handle(static_cast<bs_command_queue_handle_t>(nullptr)), native.device}, context);
    });
}
