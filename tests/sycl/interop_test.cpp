#include "devices.hpp"

namespace basalt = sycl::ext::aurelo::basalt;
using test::expect_refused;

namespace {

constexpr auto soft = sycl::backend::ext_aurelo_basalt;

class interop : public testing::Test {
protected:
    interop() {
        EXPECT_EQ(bs_context_create(platform, 1, &native_device, &context), BS_SUCCESS);
        EXPECT_EQ(bs_command_queue_create(context, native_device, 1, &native_queue), BS_SUCCESS);
        EXPECT_EQ(bs_command_list_create_immediate(context, native_device, 1, &native_list), BS_SUCCESS);
    }
    ~interop() override {
        EXPECT_EQ(bs_command_queue_destroy(native_queue), BS_SUCCESS);
        EXPECT_EQ(bs_command_list_destroy(native_list), BS_SUCCESS);
        EXPECT_EQ(bs_context_destroy(context), BS_SUCCESS) << bs_last_error();
    }
    /// A queue around a native one, which it leaves to its owner.
    sycl::queue wrapped(basalt::queue_handle handle) const {
        const auto around = sycl::make_context<soft>({context, {device}, basalt::ownership::keep});
        EXPECT_EQ(sycl::get_native<soft>(around), context);
        return sycl::make_queue<soft>({handle, device, basalt::ownership::keep}, around);
    }

    sycl::device device = test::gpu_with_limit(8);
    bs_device_handle_t native_device = sycl::get_native<soft>(device);
    bs_platform_handle_t platform = sycl::get_native<soft>(device.get_platform());
    bs_context_handle_t context = nullptr;
    bs_command_queue_handle_t native_queue = nullptr;
    bs_command_list_handle_t native_list = nullptr;
};

} // namespace

TEST_F(interop, platforms_and_devices_come_back_as_the_same_objects) {
    const auto same = basalt::make_platform(platform);
    EXPECT_EQ(same, device.get_platform());
    EXPECT_EQ(basalt::make_device(same, native_device), device);
}

TEST_F(interop, queues_of_both_native_kinds_run_commands_and_keep_the_handles) {
    for (const auto handle : {basalt::queue_handle(native_queue), basalt::queue_handle(native_list)}) {
        sycl::queue queue = wrapped(handle);
        EXPECT_EQ(sycl::get_native<soft>(queue), handle);
        int value = 0;
        auto event = queue.single_task([&value] { value = 5; });
        EXPECT_EQ(event.get_backend(), soft);
        event.wait();
        EXPECT_EQ(value, 5);
    }
}

TEST_F(interop, a_native_command_is_ordered_with_those_of_the_queue_around_it) {
    int value = 1;
    int seen = 0;
    {
        sycl::queue queue = wrapped(native_queue);
        test::held hold(device);
        queue.single_task([&value] { value = 2; });
        bs_command_t copy{};
        copy.copy = {&seen, &value, sizeof value};
        ASSERT_EQ(bs_command_queue_submit(native_queue, &copy), BS_SUCCESS);
        auto last = queue.single_task([&value] { value = 3; });
        hold.release();
        last.wait();
    }
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(value, 3);
}

TEST_F(interop, null_handles_and_foreign_devices_are_refused) {
    const sycl::device cpu(sycl::cpu_selector_v);
    const auto make_context = [](bs_context_handle_t native, const std::vector<sycl::device>& devices) {
        sycl::make_context<soft>({native, devices, basalt::ownership::keep});
    };
    using sycl::errc;
    expect_refused(errc::invalid, "", [&] { basalt::make_platform(nullptr); });
    expect_refused(errc::invalid, "", [&] { basalt::make_device(device.get_platform(), nullptr); });
    expect_refused(errc::invalid, "", [&] { make_context(nullptr, {device}); });
    expect_refused(errc::invalid, "", [&] { make_context(context, {}); });
    expect_refused(errc::invalid, "", [&] { wrapped(static_cast<bs_command_queue_handle_t>(nullptr)); });
    expect_refused(errc::backend_mismatch, "", [&] { make_context(context, {cpu}); });
    expect_refused(errc::backend_mismatch, "", [&] { (void)sycl::get_native<soft>(cpu); });
}
