#include "driver_watch.hpp"
#include "expected.hpp"

#include "support/closed_memory.hpp"

// Which kernels an entry launches on a software GPU, seen at the driver.

namespace {

using namespace test;

/// Runs a mask on one group's worth of data, where each routine is one kernel.
std::vector<std::string> kernels_of(unsigned long long estimates, int method, int expected_status = 0) {
    offload_task<double, std::int64_t> task(software_gpu(), make<double>({.n_dims = 2, .n_observations = 5}));
    const auto interop = software_gpu().interop();
    watch().take_launched();
    EXPECT_EQ(compute(task, estimates, method, interop), expected_status);
    return watch().take_launched();
}

void expect_order(const std::vector<std::string>& kernels, const std::vector<const char*>& functors) {
    ASSERT_EQ(kernels.size(), functors.size());
    for (std::size_t i = 0; i < kernels.size(); ++i) {
        EXPECT_NE(kernels[i].find(functors[i]), std::string::npos) << i << ": " << kernels[i];
    }
}

} // namespace

TEST(walk, runs_each_group_once_in_the_order_of_the_table) {
    expect_order(kernels_of(est_all, 1),
                 {"min_func_fast", "max_func_fast", "raw_sum_func_fast", "raw_moment_func_fast",
                  "central_sum_func_fast", "central_moment_func_fast", "variation_func_fast",
                  "skewness_func_fast", "kurtosis_func_fast"});
}

TEST(walk, about_a_mean_runs_the_groups_that_have_the_method) {
    expect_order(kernels_of(est_all, 256),
                 {"central_sum_func_user_mean", "central_moment_func_user_mean", "variation_func_user_mean",
                  "skewness_func_user_mean", "kurtosis_func_user_mean"});
}

TEST(walk, any_bit_of_a_group_runs_it) {
    const std::vector<std::pair<const char*, std::vector<unsigned long long>>> groups{
        {"raw_sum_func_fast", {est_sum, est_raw_sum2, est_raw_sum3, est_raw_sum4}},
        {"raw_moment_func_fast", {est_mean, est_raw2, est_raw3, est_raw4}},
        {"central_sum_func_fast", {est_central_sum2, est_central_sum3, est_central_sum4}},
        {"central_moment_func_fast", {est_central2, est_central3, est_central4}}};
    for (const auto& [functor, bits] : groups) {
        for (const auto bit : bits) {
            expect_order(kernels_of(bit, 1), {functor});
        }
    }
}

TEST(walk, refused_groups_launch_nothing) {
    expect_order(kernels_of(est_min | est_sum | est_mean, 256, -4029), {});
}

// No scratch and no wait: the device is held, and the entry comes back all the same.
TEST(walk, minimum_of_one_group_allocates_nothing_and_does_not_wait) {
    auto& device = software_gpu();
    for (const auto n : {std::size_t(1), device.work_group_limit}) {
        offload_task<float, std::int64_t> task(device, make<float>({.n_dims = 3, .n_observations = n}));
        const auto interop = device.interop();
        omptarget_interop_set_nowait(interop.get(), 1);
        held_device held(device);
        watch().tried_allocations = 0;
        EXPECT_EQ(compute(task, est_min, 1, interop), 0);
        EXPECT_EQ(watch().tried_allocations, 0);
        expect_untouched(task);
        held.let_go();
        EXPECT_TRUE(omptarget_interop_wait(interop.get(), 1, 60000));
        expect_results(task, {slot_minimum}, device.work_group_limit);
    }
}

TEST(walk, minimum_of_several_groups_is_complete_on_return) {
    const auto device = new_software_gpu(8, 20000, true);
    offload_task<double, std::int32_t> task(*device, make<double>({.n_dims = 2, .n_observations = 9}));
    const auto interop = device->interop();
    omptarget_interop_set_nowait(interop.get(), 1);
    watch().tried_allocations = 0;
    EXPECT_EQ(compute(task, est_min, 1, interop), 0);
    EXPECT_GT(watch().tried_allocations, 0);
    expect_results(task, {slot_minimum}, device->work_group_limit);
    EXPECT_TRUE(omptarget_interop_wait(interop.get(), 1, 60000));
}

namespace {

/// The software GPU with memory that the host can be shut out of.
class closed_device : public interop_device {
public:
    closed_device() {
        runtime = software_gpu().runtime;
        work_group_limit = software_gpu().work_group_limit;
    }
    interop_object interop() override { return software_gpu().interop(); }
    sycl::device as_sycl_device() const override { return software_gpu().as_sycl_device(); }
    void* allocate(std::size_t bytes) override { return memory.allocate(bytes); }
    void release(void*) override {}

    closed_memory memory;
};

} // namespace

TEST(walk, of_one_group_reads_nothing_on_the_host_that_slots_lead_to) {
    for (const bool about_mean : {false, true}) {
        in_every_type([&]<typename T, typename Integer>() {
            closed_device device;
            offload_task<T, Integer> task(device, make<T>({.n_dims = 3,
                                                           .n_observations = 9,
                                                           .weights = weighting::positive,
                                                           .mask = masking::alternate,
                                                           .own_mean = about_mean}));
            const auto interop = device.interop();
            omptarget_interop_set_nowait(interop.get(), 1);
            held_device held(device);
            device.memory.close();
            const int status = compute(task, est_all, about_mean ? 256 : 1, interop);
            device.memory.open();
            held.let_go();
            EXPECT_EQ(status, 0);
            EXPECT_TRUE(omptarget_interop_wait(interop.get(), 1, 60000));
            if (!about_mean) {
                expect_results(task, everything, device.work_group_limit);
            }
        });
    }
}
