// OpenCL handles, of the machine's own implementation.
#include "natives.hpp"
#include "opencl_natives.hpp"

#include "support/optional.hpp"

#include <offload/queue_lookup.hpp>
#include <runtime/qtx_sycl_context_cache.hpp>

#include <sycl/interop_opencl.hpp>

#include <gmock/gmock.h>

using namespace aurelo::qtx::gpu;
using aurelo::qtx::stats::detail::openmp::qtx_tb_omp_get_openmp_queue;

namespace {

constexpr auto opencl = sycl::backend::opencl;

class opencl_lookup : public testing::Test {
protected:
    void SetUp() override {
        if (natives.queue == nullptr) {
            SUPPORT_MISSING("no OpenCL device");
        }
    }

    sycl::queue look_up() { return qtx_tb_omp_get_openmp_queue(interop.get(), id); }

    test::opencl_natives natives;
    test::interop_object interop = test::interop_of(natives);
    int id = -77;
};

} // namespace

TEST_F(opencl_lookup, wraps_the_interops_own_queue_on_the_cached_context) {
    const auto first = look_up();
    EXPECT_EQ(id, 3);
    const auto second = look_up();
    EXPECT_NE(first, second);
    EXPECT_EQ(first.get_context(), second.get_context());
    EXPECT_EQ(sycl::get_native<opencl>(first), natives.queue);
    EXPECT_EQ(sycl::get_native<opencl>(first.get_context()), natives.context);
    EXPECT_EQ(*lookup_and_cache_nerva_context(natives.context, nullptr, qtx_gpu_backend_opencl, nullptr),
              first.get_context());
}

TEST_F(opencl_lookup, null_handles_throw_and_leave_the_cache_usable) {
    for (const int property : {OMPTARGET_CONTEXT, OMPTARGET_QUEUE}) {
        const auto broken = test::interop_of(natives);
        omptarget_interop_set_pointer(broken.get(), property, nullptr);
        EXPECT_THROW(qtx_tb_omp_get_openmp_queue(broken.get(), id), sycl::exception) << property;
    }
    look_up();
    EXPECT_EQ(id, 3);
}

TEST_F(opencl_lookup, commands_of_both_sides_run_in_the_native_queues_order) {
    cl_int code = 0;
    const auto gate = clCreateUserEvent(natives.context, &code);
    ASSERT_EQ(code, CL_SUCCESS);
    constexpr std::size_t bytes = 64;
    auto queue = look_up();
    auto* const memory = sycl::malloc_shared<unsigned char>(bytes, queue);
    ASSERT_NE(memory, nullptr);
    std::vector<unsigned char> between(bytes, 9);

    // native: wait for the gate; ours: fill with 1; native: copy what is there; ours: fill with 2.
    ASSERT_EQ(clEnqueueBarrierWithWaitList(natives.queue, 1, &gate, nullptr), CL_SUCCESS);
    auto first = queue.memset(memory, 1, bytes);
    ASSERT_EQ(clEnqueueSVMMemcpy(natives.queue, CL_FALSE, between.data(), memory, bytes, 0, nullptr, nullptr),
              CL_SUCCESS);
    auto last = queue.memset(memory, 2, bytes);
    ASSERT_EQ(clFlush(natives.queue), CL_SUCCESS);
    using sycl::info::event_command_status;
    EXPECT_NE(first.get_info<sycl::info::event::command_execution_status>(), event_command_status::complete);
    ASSERT_EQ(clSetUserEventStatus(gate, CL_COMPLETE), CL_SUCCESS);
    last.wait();
    ASSERT_EQ(clFinish(natives.queue), CL_SUCCESS);
    EXPECT_THAT(between, testing::Each(1));
    EXPECT_EQ(memory[0], 2);
    sycl::free(memory, queue);
    clReleaseEvent(gate);
}

TEST_F(opencl_lookup, the_other_function_takes_the_context_from_another_property) {
    // The lookup reads property 9, the cache property 6: each works when the other's cannot be read.
    omptarget_interop_fail(interop.get(), OMPTARGET_CONTEXT, 1);
    look_up();
    EXPECT_EQ(id, 0);
    auto* const made = lookup_and_cache_nerva_queue_and_context(interop.get());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(sycl::get_native<opencl>(*made), natives.queue);
    EXPECT_EQ(*made, *lookup_and_cache_nerva_queue_and_context(interop.get()));
    omptarget_interop_fail(interop.get(), OMPTARGET_CONTEXT, 0);
    omptarget_interop_fail(interop.get(), OMPTARGET_PLATFORM, 1);
    look_up();
    EXPECT_EQ(id, 3);
    EXPECT_EQ(lookup_and_cache_nerva_queue_and_context(interop.get()), nullptr);
}
