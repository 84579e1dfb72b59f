#include "natives.hpp"
#include "threads.hpp"

#include <runtime/qtx_sycl_context_cache.hpp>

#include <gmock/gmock.h>

#include <array>

using namespace aurelo::qtx::gpu;
using testing::Each;
using testing::ElementsAre;
using testing::Eq;
using testing::Pointee;

namespace {

sycl::context* context_of(const test::basalt_natives& natives) {
    auto device = natives.sycl_device();
    return lookup_and_cache_nerva_context(natives.context, natives.device, qtx_gpu_backend_basalt, &device);
}

} // namespace

TEST(context_cache, gives_one_context_for_a_pair_of_handles) {
    const test::basalt_natives natives;
    sycl::context* const made = context_of(natives);
    sycl::context* const hit = context_of(natives);
    EXPECT_EQ(sycl::get_native<test::soft_gpu>(*made), natives.context);
    EXPECT_EQ(*made, *hit);
    EXPECT_NE(made, hit) << "a miss gives a copy away";
    EXPECT_EQ(hit, context_of(natives)) << "a hit gives the entry itself";
    EXPECT_EQ(
        hit, lookup_and_cache_nerva_context(natives.context, natives.device, qtx_gpu_backend_opencl, nullptr))
        << "a hit looks at nothing but the key";
}

TEST(context_cache, keeps_the_devices_of_one_native_context_apart) {
    const test::basalt_natives natives;
    const test::basalt_natives other;
    auto device = natives.sycl_device();
    auto other_device = other.sycl_device();
    const auto lookup = [&](bs_device_handle_t native, sycl::device& chosen) {
        return lookup_and_cache_nerva_context(natives.context, native, qtx_gpu_backend_basalt, &chosen);
    };
    const auto* const first = lookup(natives.device, device);
    const auto* const second = lookup(other.device, other_device);
    EXPECT_NE(*first, *second);
    EXPECT_THAT(first->get_devices(), ElementsAre(device));
    EXPECT_THAT(second->get_devices(), ElementsAre(other_device));
    EXPECT_EQ(*lookup(natives.device, other_device), *first);
}

// Key after key, so that whoever is ahead makes an object while the others catch up.
TEST(context_cache, threads_that_miss_at_once_get_one_object) {
    const test::basalt_natives natives;
    auto device = natives.sycl_device();
    static std::array<char, 30000> keys; // of a device's handle only the value counts
    const auto found = test::on_threads(4, [&](std::size_t) {
        std::vector<sycl::context> contexts;
        for (char& key : keys) {
            contexts.push_back(
                *lookup_and_cache_nerva_context(natives.context, &key, qtx_gpu_backend_basalt, &device));
        }
        return contexts;
    });
    for (const auto& each : found) {
        EXPECT_TRUE(each == found.front());
    }
}

TEST(queue_cache, wraps_queues_and_immediate_lists_as_the_interop_object_says) {
    const test::basalt_natives natives;
    const test::basalt_natives other;
    const auto& context = *context_of(natives);
    const auto of_queue = test::interop_of(natives);
    const auto of_list = test::interop_of_list(natives);
    const auto of_unknown = test::interop_of_list(other);
    omptarget_interop_fail(of_unknown.get(), OMPTARGET_IMMEDIATE, -3);
    const auto look_up = [](void* native, const sycl::context& chosen, const test::interop_object& interop) {
        return lookup_and_cache_nerva_queue(native, qtx_gpu_backend_basalt, chosen, interop.get());
    };
    auto* const queue = look_up(natives.queue, context, of_queue);
    auto* const list = look_up(natives.list, context, of_list);
    auto* const unknown = look_up(other.queue, *context_of(other), of_unknown);
    using handle = sycl::ext::aurelo::basalt::queue_handle;
    EXPECT_EQ(sycl::get_native<test::soft_gpu>(*queue), handle(natives.queue));
    EXPECT_EQ(sycl::get_native<test::soft_gpu>(*list), handle(natives.list));
    EXPECT_EQ(sycl::get_native<test::soft_gpu>(*unknown), handle(other.queue))
        << "a queue if nothing is known";
    EXPECT_EQ(test::value_from(*queue), 42);
    EXPECT_EQ(test::value_from(*list), 42);
    EXPECT_EQ(queue->get_context(), context);

    const sycl::context foreign{sycl::device(sycl::cpu_selector_v)};
    auto* const hit = lookup_and_cache_nerva_queue(natives.queue, qtx_gpu_backend_opencl, foreign, nullptr);
    EXPECT_EQ(*queue, *hit) << "a hit looks at nothing but the handle";
    EXPECT_EQ(hit, look_up(natives.queue, foreign, of_list));
}

TEST(caches, are_free_and_unchanged_after_a_make_function_that_throws) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    auto device = natives.sycl_device();
    auto cpu = sycl::device(sycl::cpu_selector_v);
    const auto context = [&](void* native, void* native_device, qtx_gpu_backend_t backend,
                             sycl::device* chosen) {
        return lookup_and_cache_nerva_context(native, native_device, backend, chosen);
    };
    EXPECT_THROW(context(nullptr, natives.device, qtx_gpu_backend_basalt, &device), sycl::exception);
    EXPECT_THROW(context(natives.context, natives.device, qtx_gpu_backend_basalt, &cpu), sycl::exception);
    EXPECT_THROW(context(natives.context, natives.device, qtx_gpu_backend_basalt, nullptr), sycl::exception);
    EXPECT_THROW(context(nullptr, nullptr, qtx_gpu_backend_opencl, nullptr), sycl::exception);
    EXPECT_THAT(context_of(natives)->get_devices(), ElementsAre(device));

    const auto queue = [&](void* native, const sycl::context& chosen) {
        return lookup_and_cache_nerva_queue(native, qtx_gpu_backend_basalt, chosen, interop.get());
    };
    EXPECT_THROW(queue(natives.queue, sycl::context(cpu)), sycl::exception);
    EXPECT_THROW(queue(nullptr, *context_of(natives)), sycl::exception);
    EXPECT_EQ(test::value_from(*queue(natives.queue, *context_of(natives))), 42);
}

TEST(queue_and_context_cache, makes_both_from_an_interop_object_and_finds_them_again) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    auto* const made = lookup_and_cache_nerva_queue_and_context(interop.get());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(test::value_from(*made), 42);
    EXPECT_EQ(made->get_context(), *context_of(natives)) << "both functions share the contexts";
    EXPECT_THAT(test::reads_of(interop), ElementsAre(8, 9, 5, 7, 6, 10));
    auto* const hit = lookup_and_cache_nerva_queue_and_context(interop.get());
    EXPECT_EQ(*made, *hit);
    EXPECT_NE(made, hit);
    EXPECT_EQ(hit, lookup_and_cache_nerva_queue(natives.queue, qtx_gpu_backend_basalt, made->get_context(),
                                                nullptr));
}

TEST(queue_and_context_cache, needs_no_platform_when_the_context_is_known) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of_list(natives);
    const auto& context = *context_of(natives);
    omptarget_interop_fail(interop.get(), OMPTARGET_PLATFORM, 1);
    auto* const made = lookup_and_cache_nerva_queue_and_context(interop.get());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->get_context(), context);
}

TEST(queue_and_context_cache, a_failing_read_gives_null_and_changes_nothing) {
    for (const int property :
         {OMPTARGET_BACKEND_KIND, OMPTARGET_CONTEXT, OMPTARGET_QUEUE, OMPTARGET_DEVICE, OMPTARGET_PLATFORM}) {
        SCOPED_TRACE(property);
        const test::basalt_natives natives;
        const auto interop = test::interop_of(natives);
        omptarget_interop_fail(interop.get(), property, 1);
        EXPECT_EQ(lookup_and_cache_nerva_queue_and_context(interop.get()), nullptr);
        EXPECT_EQ(test::reads_of(interop).back(), property) << "nothing is read after a failure";
        omptarget_interop_fail(interop.get(), property, 0);
        EXPECT_EQ(test::value_from(*lookup_and_cache_nerva_queue_and_context(interop.get())), 42);
    }
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    omptarget_interop_set_pointer(interop.get(), OMPTARGET_BACKEND_KIND, nullptr);
    EXPECT_EQ(lookup_and_cache_nerva_queue_and_context(interop.get()), nullptr);
}

TEST(queue_and_context_cache, leaves_both_locks_free_when_something_throws) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    const auto with = [&](int property, void* value) {
        omptarget_interop_set_pointer(interop.get(), property, value);
        return [&] { return lookup_and_cache_nerva_queue_and_context(interop.get()); };
    };
    EXPECT_THROW(with(OMPTARGET_PLATFORM, nullptr)(), sycl::exception);
    EXPECT_THROW(with(OMPTARGET_PLATFORM, natives.device)(), sycl::exception);
    with(OMPTARGET_PLATFORM, natives.platform);
    EXPECT_THROW(with(OMPTARGET_QUEUE, nullptr)(), sycl::exception);
    EXPECT_EQ(test::value_from(*with(OMPTARGET_QUEUE, natives.queue)()), 42);
}

TEST(queue_and_context_cache, thirty_two_threads_that_miss_at_once_get_one_queue) {
    for (int round = 0; round < 8; ++round) {
        const test::basalt_natives natives;
        const auto interop = test::interop_of(natives);
        const auto queues = test::on_threads(
            32, [&](std::size_t) { return lookup_and_cache_nerva_queue_and_context(interop.get()); });
        EXPECT_THAT(queues, Each(Pointee(Eq(*queues.front()))));
        EXPECT_EQ(queues.front()->get_context(), *context_of(natives));
    }
}
