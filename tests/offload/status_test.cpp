#include "expected.hpp"

#include <cstdlib>

// What is refused, and in which order the checks come. Every case runs in both types, widths and layouts.

namespace {

using namespace test;
using test::layout;

struct refusal {
    const char* name;
    unsigned long long estimates;
    int method;
    std::vector<std::size_t> absent; ///< slots that hold null
    int status;
    std::set<std::size_t> written = {}; ///< of an accepted call
};

const std::vector<refusal> extrema_and_raw{
    {"min_method", est_min, 256, {slot_minimum}, -4029},
    {"min_method_2", est_min, 2, {}, -4029},
    {"min_array", est_min, 1, {slot_minimum}, -4015},
    {"max_method", est_max, 0, {slot_maximum}, -4029},
    {"max_array", est_max, 1, {slot_maximum}, -4016},
    {"raw_sum_method", est_sum, 256, {slot_sum}, -4029},
    {"sum", est_sum | est_raw_sum2, 1, {slot_sum, slot_raw_sum2}, -4074},
    {"raw_sum2", est_raw_sum2 | est_raw_sum3, 1, {slot_raw_sum2, slot_raw_sum3}, -4075},
    {"raw_sum3", est_raw_sum3 | est_raw_sum4, 1, {slot_sum, slot_raw_sum3, slot_raw_sum4}, -4076},
    {"raw_sum4", est_sum | est_raw_sum4, 1, {slot_raw_sum4}, -4077},
    {"raw_moment_about_a_mean", est_mean, 256, {}, -4029},
    {"mean", est_mean | est_raw2, 1, {slot_mean, slot_raw2}, -4006},
    {"raw2", est_raw2 | est_raw3, 1, {slot_raw2, slot_raw3, slot_mean}, -4007},
    {"raw3", est_raw3 | est_raw4, 1, {slot_raw3, slot_raw4}, -4008},
    {"raw4", est_mean | est_raw4, 1, {slot_raw4}, -4009}};

/// The cases of central sums or moments, which differ in bits, slots and statuses alone.
std::vector<refusal> central(unsigned long long est2, std::size_t slot2, int status2) {
    const auto est3 = est2 << 1, est4 = est2 << 2;
    const auto slot3 = slot2 + 8, slot4 = slot2 + 16;
    return {
        {"mean_before_method", est2, 7, {slot_mean}, -4006},
        {"method_before_arrays", est2, 7, {slot2}, -4029},
        {"result2_about_mean", est2 | est3, 256, {slot2, slot3}, status2},
        {"result3_about_mean", est3 | est4, 256, {slot3, slot4}, status2 - 1},
        {"result4_about_mean", est2 | est4, 256, {slot4}, status2 - 2},
        {"no_raw_moments_about_mean", est2, 256, {slot_raw2, slot3, slot4}, 0, {slot2}},
        {"result2_before_raw2", est2, 1, {slot2, slot_raw2}, status2},
        {"raw2_before_result3", est2 | est3, 1, {slot_raw2, slot3}, -4007},
        {"result3_before_raw3", est3, 1, {slot3, slot_raw3}, status2 - 1},
        {"raw2_of_result3", est3, 1, {slot_raw2, slot_raw3}, -4007},
        {"raw3_of_result3", est3 | est4, 1, {slot_raw3, slot4}, -4008},
        {"result4_before_raw", est4, 1, {slot4, slot_raw2}, status2 - 2},
        {"raw2_of_result4", est4, 1, {slot_raw2, slot_raw3, slot_raw4}, -4007},
        {"raw3_of_result4", est4, 1, {slot_raw3, slot_raw4}, -4008},
        {"raw4_of_result4", est4, 1, {slot_raw4}, -4009},
        {"raw4_not_needed",
         est2 | est3,
         1,
         {slot_raw4, slot4},
         0,
         {slot_mean, slot_raw2, slot_raw3, slot2, slot3}},
    };
}

/// The cases of an estimate of shape whose highest raw moment is \p order.
std::vector<refusal> shape(unsigned long long estimate, std::size_t result, int missing, int order) {
    const auto raw_slot = [](int k) { return slot_raw2 + 8 * static_cast<std::size_t>(k - 2); };
    std::vector<refusal> cases{
        {"mean_before_method", estimate, 2, {slot_mean, result}, -4006},
        {"method_before_result", estimate, 2, {result}, -4029},
        {"result_about_mean", estimate, 256, {result}, missing},
        {"no_raw_moments_about_mean", estimate, 256, {slot_raw2, slot_raw3, slot_raw4}, 0, {result}},
        {"result_before_raw", estimate, 1, {result, raw_slot(order)}, missing}};
    for (int k = order; k >= 2; --k) {
        std::vector<std::size_t> absent;
        for (int lower = 2; lower <= k; ++lower) {
            absent.push_back(raw_slot(lower));
        }
        cases.push_back({"raw_moments_from_the_highest", estimate, 1, absent, -4007 - (k - 2)});
    }
    return cases;
}

/// Names the bits that follow a bad group but for a good one: the walk goes on, and the last status counts.
const std::vector<refusal> several_groups{
    {"later_success_hides_failure", est_min | est_max, 1, {slot_minimum}, 0, {slot_maximum}},
    {"last_failure_is_told", est_min | est_max, 1, {slot_maximum}, -4016, {slot_minimum}},
    {"both_fail", est_max | est_kurtosis, 1, {slot_maximum, slot_kurtosis}, -4013},
    {"about_mean_only_the_last_group_runs", est_min | est_sum | est_variation, 256, {}, 0, {slot_variation}},
    {"nothing_asked_for", 0, 1, {slot_mean}, 0},
    {"unknown_bits_only", 0xFFFFFFFF01FFF000ull, 77, {slot_mean}, 0},
    {"unknown_bits_do_not_matter", 0x100000000ull | est_min, 1, {}, 0, {slot_minimum}},
    {"present_arrays_are_written_with_their_group",
     est_central4,
     1,
     {slot_central3},
     0,
     {slot_mean, slot_raw2, slot_raw3, slot_raw4, slot_central2, slot_central4}},
    {"arrays_that_no_bit_asks_for_may_be_absent",
     est_raw_sum3 | est_central3,
     1,
     {slot_sum, slot_central2, slot_raw4},
     0,
     {slot_mean, slot_raw2, slot_raw3, slot_central3, slot_central4, slot_raw_sum2, slot_raw_sum3,
      slot_raw_sum4}}};

class statuses : public testing::TestWithParam<refusal> {};
#define REFUSALS(NAME, ...)                                                                                  \
    INSTANTIATE_TEST_SUITE_P(NAME, statuses, testing::ValuesIn(__VA_ARGS__), [](const auto& chosen) {        \
        return std::to_string(chosen.index) + "_" + chosen.param.name;                                       \
    })
REFUSALS(extrema_and_raw, extrema_and_raw);
REFUSALS(central_sum, central(est_central_sum2, slot_central_sum2, -4078));
REFUSALS(central_moment, central(est_central2, slot_central2, -4010));
REFUSALS(variation, shape(est_variation, slot_variation, -4017, 2));
REFUSALS(skewness, shape(est_skewness, slot_skewness, -4014, 3));
REFUSALS(kurtosis, shape(est_kurtosis, slot_kurtosis, -4013, 4));
REFUSALS(several_groups, several_groups);

} // namespace

TEST_P(statuses, of_every_type_width_and_layout) {
    const auto& each = GetParam();
    auto& device = software_gpu();
    const auto interop = device.interop();
    in_every_type([&]<typename T, typename Integer>() {
        for (const auto placement : {layout::by_dimension, layout::by_observation}) {
            const bool about_mean = each.method == 256;
            const auto data = make<T>({.n_dims = 2, .n_observations = 9, .own_mean = about_mean});
            offload_task<T, Integer> task(device, data, placement);
            for (const auto at : each.absent) {
                task.set(at, nullptr);
            }
            EXPECT_EQ(compute(task, each.estimates, each.method, interop), each.status);
            expect_results(task, each.written, device.work_group_limit);
        }
    });
}

namespace {

/// Counts and pointers that a task must have, checked in the entry.
template <typename Spoil>
void expect_refused(int status, const Spoil& spoil) {
    in_every_type([&]<typename T, typename Integer>() {
        for (auto* const device : all_devices()) {
            SCOPED_TRACE(device->name);
            offload_task<T, Integer> task(*device, make<T>({.n_dims = 2, .n_observations = 3}));
            spoil(task);
            EXPECT_EQ(compute(task, est_all, 1, device->interop()), status);
            expect_untouched(task);
        }
    });
}

} // namespace

TEST(task_checks, storage_code_comes_first) {
    for (const int code : {0, 1, 0x10001, 0x30000, -1, 0x20000 + 1, 65535}) {
        expect_refused(-3, [code](auto& task) {
            task.storage = code;
            task.n_dims = 0;
            task.set(slot_observations, nullptr);
        });
    }
    expect_refused(-3, [](auto& task) {
        task.storage = sizeof task.storage == 8 ? decltype(task.storage)(0x100010000) : 0;
    });
    expect_refused(-3, [](auto& task) { task.set(slot_storage, nullptr); });
    EXPECT_EQ(qtx_tsb_dSSCompute_omp_offload_ilp64(nullptr, est_all, 1, nullptr), -3);
}

TEST(task_checks, observations_come_before_dimensions_and_both_before_the_matrix) {
    for (const int bad : {0, -1, -2147483647 - 1}) {
        expect_refused(-4002, [bad](auto& task) {
            task.n_observations = bad;
            task.n_dims = bad;
            task.set(slot_observations, nullptr);
        });
        expect_refused(-4001, [bad](auto& task) {
            task.n_dims = bad;
            task.set(slot_observations, nullptr);
        });
    }
    expect_refused(-4032, [](auto& task) { task.set(slot_observations, nullptr); });
    expect_refused(-4002, [](auto& task) { task.set(slot_n_observations, nullptr); });
    expect_refused(-4001, [](auto& task) { task.set(slot_n_dims, nullptr); });
}

TEST(task_checks, a_queue_comes_before_counts) {
    const auto interop = software_gpu().interop();
    omptarget_interop_set_int(interop.get(), OMPTARGET_FR_ID, 5);
    offload_task<float, std::int32_t> task(software_gpu(), make<float>({.n_dims = 2, .n_observations = 3}));
    task.n_observations = 0;
    EXPECT_EQ(compute(task, est_all, 1, interop), -2);
    omptarget_interop_set_int(interop.get(), OMPTARGET_FR_ID, OMPTARGET_FR_BASALT);
    omptarget_interop_fail(interop.get(), OMPTARGET_QUEUE, -1);
    EXPECT_EQ(compute(task, est_all, 1, interop), -2);
    expect_untouched(task);
}

TEST(task_checks, opencl_without_shared_memory_is_refused_after_the_counts) {
    NEEDS_OPENCL();
    offload_task<double, std::int64_t> task(*opencl(), make<double>({.n_dims = 2, .n_observations = 3}));
    const auto interop = opencl()->interop();
    setenv("LIBOMPTARGET_OPENCL_USE_SVM", "1", 1);
    EXPECT_EQ(compute(task, est_all, 1, interop), -1);
    task.set(slot_observations, nullptr);
    EXPECT_EQ(compute(task, est_all, 1, interop), -4032);
    // Other run-times do not ask.
    offload_task<double, std::int64_t> other(software_gpu(),
                                             make<double>({.n_dims = 2, .n_observations = 3}));
    EXPECT_EQ(compute(other, est_min, 1, software_gpu().interop()), 0);
    unsetenv("LIBOMPTARGET_OPENCL_USE_SVM");
    expect_untouched(task);
}
