#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

#include <stats/exception.hpp>

#include <chrono>
#include <future>
#include <stdexcept>

// What a call waits for, what it leaves behind, and what it refuses.

namespace {

using namespace std::chrono_literals;
using test::layout;

using test::complete;

/// A dataset of pointers, 2 dimensions, on a queue.
struct pointers {
    pointers(sycl::queue& queue, std::size_t n)
        : data(test::make<double>({.n_dims = 2, .n_observations = n})), values(queue, data.values),
          out(queue, std::vector<double>(2, test::untouched<double>)),
          set(2, static_cast<std::int64_t>(n), values.get()) {}

    test::host_dataset<double> data;
    test::usm_array<double> values;
    test::usm_array<double> out;
    test::stats::dataset<layout::by_dimension, double*> set;
};

template <typename Call>
void expect_code(sycl::errc code, const Call& call) {
    try {
        call();
        ADD_FAILURE() << "nothing was refused";
    } catch (const sycl::exception& error) {
        EXPECT_EQ(error.code(), code) << error.what();
    }
}

template <typename Error = aurelo::qtx::invalid_argument, typename Call>
std::string refusal(const Call& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "nothing was refused";
}

} // namespace

class submission : public testing::Test {
protected:
    sycl::device device = test::gpu_with_limit(16);
    sycl::queue queue{device};
};

TEST_F(submission, buffer_calls_return_before_their_kernels) {
    const auto data = test::make<double>({.n_dims = 2, .n_observations = 300});
    test::stats::dataset<layout::by_dimension, sycl::buffer<double, 1>> set(2, 300,
                                                                            test::to_buffer(data.values));
    sycl::buffer<double, 1> max(sycl::range<1>(2));
    sycl::buffer<double, 1> mean(sycl::range<1>(2));
    test::held hold(device);
    test::stats::max(queue, set, max);
    test::stats::mean(queue, set, mean);
    hold.release();
    EXPECT_EQ(test::from_buffer(max)[0], *std::max_element(data.values.begin(), data.values.begin() + 300));
    EXPECT_NEAR(test::from_buffer(mean)[0], 0.25, 0.5);
}

TEST_F(submission, single_steps_and_sums_on_pointers_return_before_their_kernels) {
    pointers one_group(queue, 16);
    pointers many_groups(queue, 300);
    test::held hold(device);
    sycl::event max = test::stats::max(queue, one_group.set, one_group.out.get());
    sycl::event mean = test::stats::mean(queue, many_groups.set, many_groups.out.get());
    EXPECT_FALSE(complete(max));
    EXPECT_FALSE(complete(mean));
    hold.release();
    sycl::event::wait({max, mean});
    EXPECT_NE(one_group.out.values()[1], test::untouched<double>);
    EXPECT_NE(many_groups.out.values()[1], test::untouched<double>);
}

TEST_F(submission, several_passes_of_a_maximum_on_pointers_are_complete_on_return) {
    auto desc = test::default_desc();
    desc.max_work_group_size = 16;
    desc.launch_delay_us = 3000;
    sycl::queue slow(test::add_device(desc));
    pointers data(slow, 300);
    EXPECT_TRUE(complete(test::stats::max(slow, data.set, data.out.get())));
    EXPECT_EQ(data.out.values()[0],
              *std::max_element(data.data.values.begin(), data.data.values.begin() + 300));
}

TEST_F(submission, unfinished_dependencies_block_calls_on_pointers) {
    pointers data(queue, 5);
    for (const bool sums : {false, true}) {
        std::promise<void> gate;
        const sycl::event before = queue.submit([&](sycl::handler& handler) {
            handler.host_task([future = gate.get_future().share()] { future.wait(); });
        });
        auto call = std::async(std::launch::async, [&] {
            return sums ? test::stats::kurtosis(queue, data.set, data.out.get(), {before})
                        : test::stats::min(queue, data.set, data.out.get(), {before});
        });
        EXPECT_EQ(call.wait_for(30ms), std::future_status::timeout);
        EXPECT_EQ(data.out.values()[0], test::untouched<double>);
        gate.set_value();
        call.get().wait();
        EXPECT_NE(data.out.values()[0], test::untouched<double>);
        std::fill_n(data.out.get(), 2, test::untouched<double>);
    }
}

TEST_F(submission, a_failed_dependency_leaves_before_any_kernel) {
    sycl::queue failing(device,
                        [](const sycl::exception_list& errors) { std::rethrow_exception(*errors.begin()); });
    pointers data(failing, 300);
    for (const bool sums : {false, true}) {
        const sycl::event broken = failing.submit([](sycl::handler& handler) {
            handler.host_task([] { throw std::runtime_error("the input is broken"); });
        });
        EXPECT_THROW(sums ? test::stats::mean(failing, data.set, data.out.get(), {broken})
                          : test::stats::max(failing, data.set, data.out.get(), {broken}),
                     std::runtime_error);
        failing.wait();
        EXPECT_EQ(data.out.values()[0], test::untouched<double>);
    }
}

TEST_F(submission, two_to_the_31_work_items_are_refused) {
    sycl::queue wide(test::gpu_with_limit(test::large_limit));
    pointers data(wide, 4);
    data.set.n_dims = 1;
    for (const std::int64_t n : {std::int64_t{1} << 31, (std::int64_t{1} << 31) - 1}) {
        data.set.n_observations = n;
        SCOPED_TRACE(n);
        expect_code(sycl::errc::nd_range, [&] { test::stats::mean(wide, data.set, data.out.get()); });
        expect_code(sycl::errc::nd_range, [&] { test::stats::max(wide, data.set, data.out.get()); });
    }
}

TEST_F(submission, counts_below_one_are_refused_by_name_and_value) {
    pointers data(queue, 4);
    data.set.n_dims = 0;
    EXPECT_EQ(refusal([&] { test::stats::min(queue, data.set, data.out.get()); }),
              "aurelo::qtx::stats::min: invalid argument: n_dims is 0, must be at least 1");
    data.set.n_dims = 2;
    data.set.n_observations = -3;
    EXPECT_EQ(refusal([&] { test::stats::skewness(queue, data.set, data.out.get()); }),
              "aurelo::qtx::stats::skewness: invalid argument: n_observations is -3, must be at least 1");
    test::stats::dataset<layout::by_observation, sycl::buffer<float, 1>> empty(
        2, 0, sycl::buffer<float, 1>(sycl::range<1>(0)));
    sycl::buffer<float, 1> out(sycl::range<1>(2));
    EXPECT_EQ(refusal([&] { test::stats::min_max(queue, empty, out, out); }),
              "aurelo::qtx::stats::min_max: invalid argument: n_observations is 0, must be at least 1");
}

TEST_F(submission, groups_of_one_take_one_observation) {
    auto desc = test::default_desc();
    desc.max_work_group_size = 1;
    std::snprintf(desc.name, sizeof desc.name, "tiny");
    sycl::queue tiny(test::add_device(desc));
    pointers one(tiny, 1);
    test::stats::max(tiny, one.set, one.out.get()).wait();
    EXPECT_EQ(one.out.values(), one.data.values);
    pointers two(tiny, 2);
    EXPECT_EQ(refusal([&] { test::stats::mean(tiny, two.set, two.out.get()); }),
              "aurelo::qtx::stats::mean: invalid argument: n_observations is 2, must be 1 on tiny, whose "
              "work-group limit is 1");
}

TEST_F(submission, partial_results_that_find_no_memory) {
    pointers data(queue, 17);
    data.set.n_dims = std::int64_t{1} << 42;
    EXPECT_EQ(refusal<aurelo::qtx::device_bad_alloc>(
                  [&] { test::stats::min_max(queue, data.set, data.out.get(), data.out.get()); }),
              "aurelo::qtx::stats::min_max: cannot allocate memory on " +
                  device.get_info<sycl::info::device::name>());
}

TEST_F(submission, a_device_without_fp64_computes_float_and_refuses_double) {
    auto desc = test::default_desc();
    desc.fp64 = 0;
    sycl::queue single(test::add_device(desc));
    const auto data = test::make<float>({.n_dims = 2, .n_observations = 50, .integers = true});
    for (const auto& how : test::arrangements) {
        EXPECT_NO_THROW((test::run<float, 1>(single, how, data, {true}, test::call::kurtosis)));
    }
    pointers wide(single, 50);
    expect_code(sycl::errc::kernel_not_supported,
                [&] { test::stats::kurtosis(single, wide.set, wide.out.get()); });
}
