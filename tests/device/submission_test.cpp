#include "device/launch.hpp"

#include "support/closed_memory.hpp"
#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

#include <stats/exception.hpp>

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <limits>
#include <stdexcept>
#include <tuple>

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

/// What a call throws, in words.
template <typename Call>
std::string refusal(const Call& call) {
    try {
        call();
    } catch (const aurelo::qtx::exception& error) {
        return error.what();
    } catch (const sycl::exception& error) {
        return error.code().message() + ": " + error.what();
    }
    return "nothing was refused";
}

/// A dataset of 2 x 2 that says of itself that it is of other counts.
template <typename T, bool is_usm>
struct pretender {
    explicit pretender(sycl::queue& where) : queue(where) {}

    template <typename Estimate, typename... Outputs>
    std::string refusal_of(const Estimate& estimate, std::int64_t n_dims, std::int64_t n_observations,
                           const Outputs&... outputs) {
        const test::dataset_of<layout::by_dimension, T, is_usm> set(n_dims, n_observations, values.argument(),
                                                                    weights.argument());
        return refusal([&] { estimate(queue, set, outputs.argument()...); });
    }

    void expect_refusals() {
        constexpr std::int64_t huge = std::int64_t{1} << 62, most = std::numeric_limits<std::int64_t>::max();
        const auto launch = [](const char* n_items, const char* n_observations) {
            return std::string("invalid nd_range: a launch of ") + n_items +
                   " work-items reaches the limit of 2147483648: n_observations is " + n_observations;
        };
        const std::string sums = "memory cannot be allocated: no memory for a buffer of ";
        const std::string endless_sums = sums + "2^64 or more bytes on ";
        const std::string extremes =
            is_usm ? "aurelo::qtx::stats::min_max: cannot allocate memory on " : sums;
        expect_refused(std::int64_t{1} << 42, 17, extremes, sums);
        expect_refused(huge, 1024, extremes, endless_sums);
        expect_refused(huge, 1025, extremes, endless_sums);
        expect_refused(most, 17, extremes, endless_sums);
        for (const std::int64_t n_dims : {std::int64_t{2}, huge, most}) {
            const auto expect_no_launch = [&](std::int64_t n_observations, const std::string& words) {
                expect_refused(n_dims, n_observations, words, words);
            };
            expect_no_launch(2147483633, launch("2147483648", "2147483633"));
            expect_no_launch(2147483648, launch("2147483648", "2147483648"));
            expect_no_launch(huge, launch("4611686018427387904", "4611686018427387904"));
            expect_no_launch(most, launch("9223372036854775808", "9223372036854775807"));
        }
    }

    void expect_results() {
        EXPECT_EQ(refusal_of(test::call::min_max, 2, 2, low, high), "nothing was refused");
        queue.wait();
        EXPECT_EQ(low.values(), (std::vector<T>{1, 3}));
        EXPECT_EQ(high.values(), (std::vector<T>{2, 4}));
    }

private:
    void expect_refused(std::int64_t n_dims, std::int64_t n_observations, const std::string& extremes,
                        const std::string& sums) {
        using testing::StartsWith;
        SCOPED_TRACE(std::to_string(n_dims) + " x " + std::to_string(n_observations));
        EXPECT_THAT(refusal_of(test::call::min_max, n_dims, n_observations, low, high), StartsWith(extremes));
        EXPECT_THAT(refusal_of(test::call::mean, n_dims, n_observations, low), StartsWith(sums));
        EXPECT_THAT(refusal_of(test::call::kurtosis, n_dims, n_observations, low), StartsWith(sums));
    }

    sycl::queue& queue;
    test::array<T, is_usm> values{queue, {1, 2, 3, 4}};
    test::array<T, is_usm> weights{queue, {1, 1}};
    test::array<T, is_usm> low{queue, {0, 0}};
    test::array<T, is_usm> high{queue, {0, 0}};
};

/// What a queue's context says of the memory and the queues in it. It cannot be destroyed while there is any.
std::string contents_of_context(const sycl::queue& queue) {
    const auto context = sycl::get_native<sycl::backend::ext_aurelo_basalt>(queue.get_context());
    EXPECT_EQ(bs_context_destroy(context), BS_ERROR_INVALID_ARGUMENT);
    return bs_last_error();
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

TEST_F(submission, the_host_reads_nothing_that_pointers_lead_to) {
    const auto expect_no_access = [&]<layout L>(std::size_t n) {
        const auto data = test::make<double>({.n_dims = 2,
                                              .n_observations = n,
                                              .weights = test::weighting::positive,
                                              .mask = test::masking::all_in,
                                              .own_mean = true});
        test::closed_memory memory;
        const test::stats::dataset<L, double*> set(2, static_cast<std::int64_t>(n), memory.hold(data.values),
                                                   memory.hold(data.weights), memory.hold(data.mask));
        double* const mean = memory.hold(data.mean);
        const auto make_output = [&] { return memory.hold(std::vector<double>(2, test::untouched<double>)); };
        const auto check = [&](const auto& call, auto... arguments) {
            double* const first = std::get<sizeof...(arguments) - 1>(std::tuple(arguments...));
            *first = test::untouched<double>;
            test::held hold(device);
            memory.close();
            sycl::event event = call(queue, arguments...);
            memory.open();
            hold.release();
            event.wait();
            EXPECT_NE(*first, test::untouched<double>);
        };
        const auto check_both = [&](const auto& call, auto... outputs) {
            check(call, set, outputs...);
            if constexpr (std::is_invocable_v<decltype(call), sycl::queue&, double*, decltype(set),
                                              decltype(outputs)...>) {
                check(call, mean, set, outputs...);
            }
        };
        double* const a = make_output();
        double* const b = make_output();
        double* const c = make_output();
        double* const d = make_output();
        if (n <= 16) { // several passes wait for each other
            check_both(test::call::min, a);
            check_both(test::call::max, a);
            check_both(test::call::min_max, a, b);
        }
        check_both(test::call::mean, a);
        check_both(test::call::raw_sum, a, b, c, d);
        check_both(test::call::raw_moment, a, b, c, d);
        check_both(test::call::central_sum, a, b, c);
        check_both(test::call::central_moment, a, b, c);
        check_both(test::call::variation, a);
        check_both(test::call::skewness, a);
        check_both(test::call::kurtosis, a);
    };
    for (const std::size_t n : {16, 300}) {
        expect_no_access.operator()<layout::by_dimension>(n);
        expect_no_access.operator()<layout::by_observation>(n);
    }
}

TEST_F(submission, counts_that_no_memory_or_launch_has_are_refused_and_leave_nothing) {
    const std::string before = contents_of_context(queue);
    const auto expect = [](auto data) {
        data.expect_refusals();
        data.expect_results();
    };
    expect(pretender<float, false>(queue));
    expect(pretender<double, false>(queue));
    expect(pretender<float, true>(queue));
    expect(pretender<double, true>(queue));
    EXPECT_EQ(contents_of_context(queue), before);
    const std::int64_t most = (std::int64_t{1} << 31) - 16;
    EXPECT_NO_THROW(aurelo::qtx::stats::detail::gpu::plan_for(queue, 2, most, "mean"));
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

TEST_F(submission, a_device_without_fp64_computes_float_and_refuses_double) {
    auto desc = test::default_desc();
    desc.fp64 = 0;
    sycl::queue single(test::add_device(desc));
    const auto data = test::make<float>({.n_dims = 2, .n_observations = 50, .integers = true});
    for (const auto& how : test::arrangements) {
        EXPECT_NO_THROW((test::run<float, 1>(single, how, data, {true}, test::call::kurtosis)));
    }
    pointers wide(single, 50);
    EXPECT_THAT(refusal([&] { test::stats::kurtosis(single, wide.set, wide.out.get()); }),
                testing::StartsWith("kernel not supported by the device: "));
}
