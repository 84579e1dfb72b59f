#include "expected.hpp"

#include "runtime/qtx_omp_wrappers.hpp"

#include <stats/stats.hpp>

#include <stdexcept>
#include <utility>

// What entries print on stderr, byte for byte; -2 is all that their callers get.

namespace {

using namespace test;

template <typename T, typename Integer>
void expect_message(interop_device& device, offload_task<T, Integer>& task, const std::string& message,
                    unsigned long long estimates = est_min) {
    const auto interop = device.interop();
    for (const int nowait : {0, 1}) {
        omptarget_interop_set_nowait(interop.get(), nowait);
        testing::internal::CaptureStderr();
        const int status = compute(task, estimates, 1, interop);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), message);
        EXPECT_EQ(status, -2);
        EXPECT_EQ(omptarget_interop_completions(interop.get()), 0u);
        expect_untouched(task);
    }
}

template <typename T>
void expect_message(interop_device& device, std::size_t n_observations, const std::string& message) {
    offload_task<T, std::int64_t> task(device, make<T>({.n_dims = 2, .n_observations = n_observations}));
    expect_message(device, task, message);
}

/// The message for an interop library whose property read is \p read.
void expect_message_of_library(int (*read)(void*, int, void**), const std::string& message) {
    ASSERT_EQ(qtx_omp_load_lib(), 0);
    const auto real = std::exchange(qtx_fp_tgt_get_interop_property, read);
    expect_message<float>(software_gpu(), 2, message);
    qtx_fp_tgt_get_interop_property = real;
}

} // namespace

TEST(messages, exception_of_the_library) {
    const auto lonely = new_software_gpu(1, 0, true);
    expect_message<double>(
        *lonely, 2,
        "Qtx Stats: aurelo::qtx::exception: what: aurelo::qtx::stats::min: invalid argument: n_observations "
        "is 2, must be 1 on " +
            lonely->as_sycl_device().get_info<sycl::info::device::name>() +
            ", whose work-group limit is 1\n");
}

TEST(messages, exception_of_the_sycl_runtime) {
    const auto narrow = new_software_gpu(8, 0, false);
    std::string what = "nothing was thrown";
    try {
        sycl::queue queue(narrow->as_sycl_device());
        const device_array<double> values(*narrow, {1, 2});
        const aurelo::qtx::stats::dataset<layout::by_dimension, double*> data(1, 1, values.get());
        aurelo::qtx::stats::min(queue, data, values.get() + 1);
    } catch (const sycl::exception& error) {
        what = error.what();
    }
    expect_message<double>(*narrow, 2, "Qtx Stats: sycl::exception what: " + what + " \n");
    offload_task<float, std::int64_t> narrow_task(*narrow, make<float>({.n_dims = 2, .n_observations = 20}));
    EXPECT_EQ(compute(narrow_task, est_all, 1, narrow->interop()), 0);
}

TEST(messages, counts_that_no_launch_or_memory_has) {
    const auto device = new_software_gpu(8, 0, true);
    const std::string name = device->as_sycl_device().get_info<sycl::info::device::name>();
    const auto data = make<float>({.n_dims = 2, .n_observations = 3});
    const std::string sycl = "Qtx Stats: sycl::exception what: ";
    offload_task<float, std::int64_t> wide(*device, data);
    offload_task<float, std::int32_t> narrow(*device, data);
    wide.n_dims = wide.n_observations = std::int64_t{1} << 62;
    narrow.n_observations = 2147483647;
    for (const auto estimates : {est_min, est_kurtosis}) {
        const std::string limit = " work-items reaches the limit of 2147483648: n_observations is ";
        expect_message(*device, wide,
                       sycl + "a launch of 4611686018427387904" + limit + "4611686018427387904 \n",
                       estimates);
        expect_message(*device, narrow, sycl + "a launch of 2147483648" + limit + "2147483647 \n", estimates);
    }
    wide.n_observations = 1025;
    expect_message(
        *device, wide,
        "Qtx Stats: aurelo::qtx::exception: what: aurelo::qtx::stats::min: cannot allocate memory on " +
            name + "\n");
    expect_message(*device, wide, sycl + "no memory for a buffer of 2^64 or more bytes on " + name + " \n",
                   est_kurtosis);
    wide.n_dims = 2;
    wide.n_observations = 3;
    EXPECT_EQ(compute(wide, est_all, 1, device->interop()), 0);
    expect_results(wide, everything, 8);
}

TEST(messages, standard_exception) {
    expect_message_of_library([](void*, int, void**) -> int { throw std::runtime_error("a broken library"); },
                              "Qtx Stats: std::exception what: a broken library\n");
}

TEST(messages, unknown_exception) {
    expect_message_of_library([](void*, int, void**) -> int { throw 7; },
                              "Qtx Stats: unknown exception occured during Nerva call");
}

TEST(messages, refusals_print_nothing) {
    offload_task<double, std::int64_t> task(software_gpu(), make<double>({.n_dims = 2, .n_observations = 3}));
    const auto interop = software_gpu().interop();
    testing::internal::CaptureStderr();
    EXPECT_EQ(compute(task, est_min, 77, interop), -4029);
    task.n_dims = 0;
    EXPECT_EQ(compute(task, est_min, 1, interop), -4001);
    omptarget_interop_set_int(interop.get(), OMPTARGET_FR_ID, 1);
    EXPECT_EQ(compute(task, est_min, 1, interop), -2);
    task.storage = 5;
    EXPECT_EQ(compute(task, est_min, 1, interop), -3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
