#include "expected.hpp"

namespace {

using namespace test;
using test::layout;

std::set<std::size_t> central_slots() {
    auto slots = slots_between(slot_central2, slot_central4);
    slots.merge(slots_between(slot_central_sum2, slot_variation));
    return slots;
}
constexpr auto central_estimates = est_central2 | est_central3 | est_central4 | est_central_sum2 |
                                   est_central_sum3 | est_central_sum4 | est_kurtosis | est_skewness |
                                   est_variation;

class results : public testing::TestWithParam<interop_device*> {
protected:
    interop_device& device = *GetParam();
    interop_object interop = device.interop();

    /// Kernels of an OpenCL device take a second each to compile: one layout and recipe for each type there.
    bool is_slow() const { return device.runtime == OMPTARGET_FR_OPENCL; }

    std::vector<recipe> recipes() const {
        const std::size_t wg = std::min<std::size_t>(device.work_group_limit, 4096);
        std::vector<recipe> list{{.n_dims = 5,
                                  .n_observations = 2 * wg + 1,
                                  .weights = weighting::odd,
                                  .mask = masking::alternate}};
        if (!is_slow()) {
            list.push_back({.n_dims = 3, .n_observations = 9, .mask = masking::first_out, .seed = 2});
            list.push_back({.n_dims = 2, .n_observations = wg, .weights = weighting::positive, .seed = 3});
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
INSTANTIATE_TEST_SUITE_P(devices, results, testing::ValuesIn(all_devices()),
                         [](const auto& chosen) { return chosen.param->name; });

} // namespace

TEST_P(results, all_estimates_at_once) {
    in_every_arrangement([this]<typename T, typename Integer>(const recipe& recipe, layout placement) {
        offload_task<T, Integer> task(device, make<T>(recipe), placement);
        EXPECT_EQ(compute(task, est_all, 1, interop), 0);
        expect_results(task, everything, device.work_group_limit);
    });
}

TEST_P(results, central_estimates_about_the_callers_mean_leave_mean_and_raw_moments_alone) {
    in_every_arrangement([this]<typename T, typename Integer>(recipe recipe, layout placement) {
        recipe.own_mean = true;
        offload_task<T, Integer> task(device, make<T>(recipe), placement);
        EXPECT_EQ(compute(task, central_estimates, 256, interop), 0);
        expect_results(task, central_slots(), device.work_group_limit);
    });
}

TEST_P(results, entries_by_reference_take_what_those_by_value_take) {
    in_every_type([&]<typename T, typename Integer>() {
        offload_task<T, Integer> task(device, make<T>({.n_dims = 2, .n_observations = 7}));
        void* const record = task.get();
        const unsigned long long estimates = est_min | est_max;
        const std::conditional_t<sizeof(Integer) == 8, long long, int> method = 1;
        EXPECT_EQ((entry<T, Integer>::by_reference(&record, &estimates, &method, interop.get())), 0);
        expect_results(task, {slot_minimum, slot_maximum}, device.work_group_limit);
    });
}
