// What a found queue is; random_interop_test.cpp tells which object has one.
#include "natives.hpp"
#include "threads.hpp"

#include <offload/queue_lookup.hpp>
#include <runtime/qtx_omp_wrappers.hpp>
#include <runtime/qtx_sycl_context_cache.hpp>

#include <gmock/gmock.h>

#include <optional>
#include <utility>

using aurelo::qtx::stats::detail::openmp::qtx_tb_omp_get_openmp_queue;

namespace {

struct looked_up {
    int id = -77;
    sycl::queue queue;
    explicit looked_up(const test::interop_object& interop)
        : queue(qtx_tb_omp_get_openmp_queue(interop.get(), id)) {}
};

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
}

TEST(lookup, sycl_gives_a_copy_of_the_interops_own_queue) {
    sycl::queue own{sycl::device(sycl::gpu_selector_v)};
    const test::interop_object interop(omptarget_interop_create_sycl(&own));
    const looked_up found(interop);
    EXPECT_EQ(found.id, 4);
    EXPECT_EQ(found.queue, own);
}

// A queue that the library makes has the handler that the lookup is given; the interop's own queue keeps its handler.
TEST(lookup, gives_its_handler_to_queues_that_it_makes) {
    int errors = 0;
    const auto count = [&errors](const sycl::exception_list& all) { errors += static_cast<int>(all.size()); };
    const test::basalt_natives natives;
    int id = 0;
    sycl::queue made = qtx_tb_omp_get_openmp_queue(test::interop_of(natives).get(), id, count);
    made.submit([](sycl::handler& handler) { handler.host_task([] { throw 1; }); });
    made.wait_and_throw();
    EXPECT_EQ(errors, 1);
}

TEST(lookup, has_no_id_when_the_first_property_throws) {
    const test::interop_object interop(omptarget_interop_create_sycl(nullptr));
    int id = -77;
    qtx_omp_load_lib();
    const auto entry =
        std::exchange(qtx_fp_omp_get_interop_int, [](void*, int, int*) -> std::intptr_t { throw 1; });
    EXPECT_THROW(qtx_tb_omp_get_openmp_queue(interop.get(), id), int);
    qtx_fp_omp_get_interop_int = entry;
    EXPECT_EQ(id, 0);
}

TEST(lookup, runs_on_many_threads_at_once) {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    const auto contexts = test::on_threads(
        16, [&](std::size_t) { return std::optional(looked_up(interop).queue.get_context()); });
    EXPECT_THAT(contexts, testing::Each(contexts.front()));
}
