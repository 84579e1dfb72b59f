#include "expected.hpp"

#include <tsb/summary_statistics.h>

namespace {

using test::layout;

const auto everything = test::slots_between(test::slot_mean, test::slot_maximum);

std::set<std::size_t> central_slots() {
    auto slots = test::slots_between(test::slot_central2, test::slot_central4);
    slots.merge(test::slots_between(test::slot_central_sum2, test::slot_variation));
    return slots;
}
constexpr auto central_estimates = test::est_central2 | test::est_central3 | test::est_central4 |
                                   test::est_central_sum2 | test::est_central_sum3 | test::est_central_sum4 |
                                   test::est_kurtosis | test::est_skewness | test::est_variation;

class results : public testing::TestWithParam<test::interop_device*> {
protected:
    test::interop_device& device = *GetParam();
    test::interop_object interop = device.interop();

    /// Kernels of an OpenCL device take a second each to compile: one layout and recipe for each type there.
    bool is_slow() const { return device.runtime == OMPTARGET_FR_OPENCL; }

    std::vector<test::recipe> recipes() const {
        const std::size_t wg = std::min<std::size_t>(device.work_group_limit, 4096);
        std::vector<test::recipe> list{{.n_dims = 5,
                                        .n_observations = 2 * wg + 1,
                                        .weights = test::weighting::odd,
                                        .mask = test::masking::alternate}};
        if (!is_slow()) {
            list.push_back({.n_dims = 3, .n_observations = 9, .mask = test::masking::first_out, .seed = 2});
            list.push_back(
                {.n_dims = 2, .n_observations = wg, .weights = test::weighting::positive, .seed = 3});
            list.push_back({.n_dims = 1, .n_observations = 3 * wg, .seed = 4});
        }
        return list;
    }

    template <typename Body>
    void in_every_arrangement(const Body& body) {
        for (const auto& recipe : recipes()) {
            SCOPED_TRACE(device.name + ": " + recipe.text());
            body.template operator()<double, std::int64_t>(recipe, layout::by_dimension);
            body.template operator()<float, std::int32_t>(recipe, layout::by_observation);
            if (!is_slow()) {
                body.template operator()<float, std::int64_t>(recipe, layout::by_dimension);
                body.template operator()<double, std::int32_t>(recipe, layout::by_dimension);
                body.template operator()<double, std::int64_t>(recipe, layout::by_observation);
            }
        }
    }
};
INSTANTIATE_TEST_SUITE_P(devices, results, testing::ValuesIn(test::all_devices()),
                         [](const auto& chosen) { return chosen.param->name; });

} // namespace

TEST_P(results, all_estimates_at_once) {
    in_every_arrangement([this]<typename T, typename Integer>(const test::recipe& recipe, layout placement) {
        test::offload_task<T, Integer> task(device, test::make<T>(recipe), placement);
        EXPECT_EQ(test::compute(task, test::est_all, 1, interop), 0);
        test::expect_results(task, everything, device.work_group_limit);
    });
}

TEST_P(results, central_estimates_about_the_callers_mean_leave_mean_and_raw_moments_alone) {
    in_every_arrangement([this]<typename T, typename Integer>(test::recipe recipe, layout placement) {
        recipe.own_mean = true;
        test::offload_task<T, Integer> task(device, test::make<T>(recipe), placement);
        EXPECT_EQ(test::compute(task, central_estimates, 256, interop), 0);
        test::expect_results(task, central_slots(), device.work_group_limit);
    });
}

TEST_P(results, entries_by_reference_take_what_those_by_value_take) {
    const test::recipe recipe{.n_dims = 2, .n_observations = 7};
    test::in_every_type([&]<typename T, typename Integer>() {
        test::offload_task<T, Integer> task(device, test::make<T>(recipe));
        const int status = test::compute_by_reference<T, Integer>(task.get(), test::est_min | test::est_max,
                                                                  1, interop.get());
        EXPECT_EQ(status, 0);
        test::expect_results(task, {test::slot_minimum, test::slot_maximum}, device.work_group_limit);
    });
}

// What a group stores follows from the arrays that are present; a null array is passed over.
TEST_P(results, arrays_that_are_present_are_written_with_their_group) {
    const test::recipe recipe{.n_dims = 2, .n_observations = 20};
    test::offload_task<double, std::int64_t> task(device, test::make<double>(recipe));
    task.set(test::slot_central3, nullptr);
    EXPECT_EQ(test::compute(task, test::est_central4, 1, interop), 0);
    test::expect_results(task,
                         {test::slot_mean, test::slot_raw2, test::slot_raw3, test::slot_raw4,
                          test::slot_central2, test::slot_central4},
                         device.work_group_limit);
}

TEST_P(results, arrays_that_no_bit_asks_for_may_be_absent) {
    const test::recipe recipe{.n_dims = 2, .n_observations = 20};
    test::offload_task<double, std::int64_t> task(device, test::make<double>(recipe));
    for (const auto at : {test::slot_sum, test::slot_central2, test::slot_raw4, test::slot_mask}) {
        task.set(at, nullptr);
    }
    EXPECT_EQ(test::compute(task, test::est_raw_sum3 | test::est_central3, 1, interop), 0);
    test::expect_results(task,
                         {test::slot_mean, test::slot_raw2, test::slot_raw3, test::slot_central3,
                          test::slot_central4, test::slot_raw_sum2, test::slot_raw_sum3, test::slot_raw_sum4},
                         device.work_group_limit);
}

TEST(component_task, is_read_as_the_component_made_it) {
    auto& device = test::software_gpu();
    const auto data = test::make<double>({.n_dims = 3,
                                          .n_observations = 100,
                                          .weights = test::weighting::positive,
                                          .mask = test::masking::first_out});
    test::offload_task<double, std::int32_t> arrays(device, data);
    const auto array_of = [&](std::size_t at) {
        double* address = nullptr;
        std::memcpy(&address, static_cast<char*>(arrays.get()) + at, sizeof address);
        return address;
    };
    std::int32_t* mask = nullptr;
    std::memcpy(&mask, static_cast<char*>(arrays.get()) + test::slot_mask, sizeof mask);
    void* task = nullptr;
    ASSERT_EQ(tsbdSSNewTask(&task, &arrays.n_dims, &arrays.n_observations, &arrays.storage,
                            array_of(test::slot_observations), array_of(test::slot_weights), mask),
              TSB_SS_OK);
    EXPECT_EQ(tsbdSSEditMoments(task, array_of(test::slot_mean), array_of(test::slot_raw2),
                                array_of(test::slot_raw3), array_of(test::slot_raw4),
                                array_of(test::slot_central2), array_of(test::slot_central3),
                                array_of(test::slot_central4)),
              TSB_SS_OK);
    EXPECT_EQ(tsbdSSEditSums(task, array_of(test::slot_sum), array_of(test::slot_raw_sum2),
                             array_of(test::slot_raw_sum3), array_of(test::slot_raw_sum4),
                             array_of(test::slot_central_sum2), array_of(test::slot_central_sum3),
                             array_of(test::slot_central_sum4)),
              TSB_SS_OK);
    const std::map<std::int64_t, std::size_t> parameters{{TSB_SS_PARAM_KURTOSIS, test::slot_kurtosis},
                                                         {TSB_SS_PARAM_SKEWNESS, test::slot_skewness},
                                                         {TSB_SS_PARAM_VARIATION, test::slot_variation},
                                                         {TSB_SS_PARAM_MIN, test::slot_minimum},
                                                         {TSB_SS_PARAM_MAX, test::slot_maximum}};
    for (const auto& [parameter, at] : parameters) {
        EXPECT_EQ(tsbdSSEditTask(task, parameter, array_of(at)), TSB_SS_OK);
    }
    EXPECT_EQ((test::compute<double, std::int32_t>(task, test::est_all, 1, device.interop().get())), 0);
    test::expect_results(arrays, everything, device.work_group_limit);
    tsbSSDeleteTask(&task);
}
