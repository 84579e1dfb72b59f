#include "natives.hpp"
#include "threads.hpp"

#include <offload/queue_lookup.hpp>
#include <runtime/qtx_sycl_context_cache.hpp>

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>

using aurelo::qtx::stats::detail::openmp::qtx_tb_omp_get_openmp_queue;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

struct looked_up {
    int id = -77;
    sycl::queue queue;
    explicit looked_up(const test::interop_object& interop)
        : queue(qtx_tb_omp_get_openmp_queue(interop.get(), id)) {}
};

int id_of(const test::interop_object& interop) {
    return looked_up(interop).id;
}

} // namespace

TEST(lookup, basalt_gives_new_queues_on_one_cached_context) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    const looked_up first(interop);
    const looked_up second(interop);
    EXPECT_EQ(first.id, 6);
    EXPECT_EQ(second.id, 6);
    EXPECT_NE(first.queue, second.queue);
    EXPECT_EQ(first.queue.get_context(), second.queue.get_context());
    EXPECT_EQ(sycl::get_native<test::soft_gpu>(first.queue.get_context()), natives.context);
    EXPECT_NE(sycl::get_native<test::soft_gpu>(first.queue),
              sycl::ext::aurelo::basalt::queue_handle(natives.queue));
    EXPECT_EQ(first.queue.get_device(), natives.sycl_device());
    EXPECT_FALSE(first.queue.is_in_order());
    EXPECT_EQ(test::value_from(second.queue), 42);
    const std::vector<int> once{-1, 6, 7, 9, 5};
    auto twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_THAT(test::reads_of(interop), ElementsAreArray(twice));
}

TEST(lookup, sycl_gives_a_copy_of_the_interops_own_queue) {
    sycl::queue own{sycl::device(sycl::gpu_selector_v)};
    const test::interop_object interop(omptarget_interop_create_sycl(&own));
    const looked_up found(interop);
    EXPECT_EQ(found.id, 4);
    EXPECT_EQ(found.queue, own);
    EXPECT_THAT(test::reads_of(interop), ElementsAre(-1, 5));
}

TEST(lookup, falls_back_to_the_kind_of_back_end_when_the_id_cannot_be_read) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    omptarget_interop_fail(interop.get(), OMPTARGET_FR_ID, -2);
    EXPECT_EQ(id_of(interop), 6);
    EXPECT_THAT(test::reads_of(interop), ElementsAre(-1, 8, 6, 7, 9, 5));
}

TEST(lookup, knows_two_kinds_of_back_end_as_32_bit_integers) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    omptarget_interop_fail(interop.get(), OMPTARGET_FR_ID, -2);
    for (const std::int32_t kind : {0, 3, -1, 6, 0x10000 + 2}) {
        std::int32_t value = kind;
        omptarget_interop_set_pointer(interop.get(), OMPTARGET_BACKEND_KIND, &value);
        EXPECT_EQ(id_of(interop), 0) << kind;
    }
    std::int64_t wide = (std::int64_t{5} << 32) + 2;
    omptarget_interop_set_pointer(interop.get(), OMPTARGET_BACKEND_KIND, &wide);
    EXPECT_EQ(id_of(interop), 6) << "the upper half is not looked at";
    omptarget_interop_set_pointer(interop.get(), OMPTARGET_BACKEND_KIND, nullptr);
    EXPECT_EQ(id_of(interop), 0);
    omptarget_interop_fail(interop.get(), OMPTARGET_BACKEND_KIND, 1);
    EXPECT_EQ(id_of(interop), 0);
}

TEST(lookup, refuses_other_ids_whatever_else_the_object_holds) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    for (const int id : {-6, -1, 0, 1, 2, 5, 7, 8}) {
        omptarget_interop_set_int(interop.get(), OMPTARGET_FR_ID, id);
        EXPECT_EQ(id_of(interop), 0) << id;
    }
    const auto reads = test::reads_of(interop);
    EXPECT_THAT(reads, testing::Each(OMPTARGET_FR_ID)) << "an id that can be read settles it";
}

TEST(lookup, a_failing_read_of_any_property_of_basalt_ends_it) {
    const test::basalt_natives natives;
    for (const int property : {OMPTARGET_PLATFORM, OMPTARGET_DEVICE, OMPTARGET_CONTEXT, OMPTARGET_QUEUE}) {
        const auto interop = test::interop_of(natives);
        omptarget_interop_fail(interop.get(), property, 1);
        const looked_up failed(interop);
        EXPECT_EQ(failed.id, 0) << property;
        EXPECT_NE(failed.queue.get_device(), natives.sycl_device());
        EXPECT_EQ(test::reads_of(interop).back(), property);
    }
}

TEST(lookup, sycl_without_a_queue_ends_it) {
    const test::interop_object interop(omptarget_interop_create_sycl(nullptr));
    EXPECT_EQ(id_of(interop), 0);
    omptarget_interop_fail(interop.get(), OMPTARGET_QUEUE, 1);
    EXPECT_EQ(id_of(interop), 0);
}

TEST(lookup, exceptions_of_the_runtime_pass_and_leave_the_caches_usable) {
    const test::basalt_natives natives;
    for (const int property : {OMPTARGET_PLATFORM, OMPTARGET_DEVICE, OMPTARGET_CONTEXT}) {
        const auto interop = test::interop_of(natives);
        omptarget_interop_set_pointer(interop.get(), property, nullptr);
        EXPECT_THROW(id_of(interop), sycl::exception) << property;
    }
    EXPECT_EQ(id_of(test::interop_of(natives)), 6);
}

TEST(lookup, runs_on_many_threads_at_once) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    const auto contexts = test::on_threads(16, [&](std::size_t) {
        const looked_up found(interop);
        return std::optional(found.queue.get_context());
    });
    for (const auto& each : contexts) {
        EXPECT_EQ(each, contexts.front());
    }
}
