#include "device/basic_steps.hpp"
#include "device/estimates/central_funcs.hpp"
#include "device/estimates/extended_funcs.hpp"
#include "device/estimates/mean_func.hpp"
#include "device/estimates/raw_funcs.hpp"
#include "device/estimates/shape_funcs.hpp"

#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

#include <gtest/gtest.h>

#include <array>

namespace gpu = aurelo::qtx::stats::detail::gpu;

namespace {

struct route {
    gpu::order_flags orders;
    std::uint64_t n_blocks;

    friend bool operator==(const route&, const route&) = default;
};

template <typename Functor>
route route_of(const Functor& functor) {
    const auto orders = gpu::orders_of(functor);
    return {orders, gpu::block_capacity(orders, Functor::user_mean)};
}

double array[1];
double* const here = array;
constexpr double* none = nullptr;

} // namespace

TEST(orders, routes_of_estimates_with_one_output) {
    EXPECT_EQ(route_of(gpu::mean_func<double, true>(here)), (route{{false, false, false}, 1}));
    EXPECT_EQ(route_of(gpu::variation_func_fast<double, true>(here)), (route{{true, false, false}, 2}));
    EXPECT_EQ(route_of(gpu::skewness_func_fast<double, true>(here)), (route{{true, true, false}, 3}));
    EXPECT_EQ(route_of(gpu::kurtosis_func_fast<double, true>(here)), (route{{true, true, true}, 4}));
    EXPECT_EQ(route_of(gpu::variation_func_user_mean<double, true>(here)), (route{{false, false, false}, 1}));
    EXPECT_EQ(route_of(gpu::skewness_func_user_mean<double, true>(here)), (route{{false, true, false}, 2}));
    EXPECT_EQ(route_of(gpu::kurtosis_func_user_mean<double, true>(here)), (route{{false, false, true}, 3}));
    EXPECT_EQ(route_of(gpu::ex::kurtosis_func_fast<double, true>{}), (route{{true, true, true}, 4}));
}

TEST(orders, routes_of_raw_outputs) {
    using raw = gpu::raw_sum_func_fast<double, true>;
    EXPECT_EQ(route_of(raw(here, none, none, none)), (route{{false, false, false}, 1}));
    EXPECT_EQ(route_of(raw(here, here, none, none)), (route{{true, false, false}, 2}));
    EXPECT_EQ(route_of(raw(here, none, here, none)), (route{{false, true, false}, 3}));
    EXPECT_EQ(route_of(raw(here, none, none, here)), (route{{false, false, true}, 4}));
}

TEST(orders, routes_of_central_outputs) {
    using fast = gpu::central_moment_func_fast<double, true>;
    using own = gpu::central_moment_func_user_mean<double, true>;
    EXPECT_EQ(route_of(fast(here, none, none)), (route{{true, false, false}, 2}));
    EXPECT_EQ(route_of(fast(here, here, none)), (route{{true, true, false}, 3}));
    EXPECT_EQ(route_of(fast(here, none, here)), (route{{true, true, true}, 4}));
    EXPECT_EQ(route_of(own(here, none, none)), (route{{false, false, false}, 1}));
    EXPECT_EQ(route_of(own(here, here, none)), (route{{false, true, false}, 2}));
    EXPECT_EQ(route_of(own(here, none, here)), (route{{false, false, true}, 3}));
}

TEST(orders, slots_are_packed_behind_the_block_in_use_by_all) {
    auto buffer = test::to_buffer(std::vector<double>{0});
    for (unsigned bits = 0; bits < 16; ++bits) {
        SCOPED_TRACE(bits);
        const unsigned a = bits & 1;
        const unsigned b = bits >> 1 & 1;
        const unsigned c = bits >> 2 & 1;
        const unsigned w = bits >> 3;
        const gpu::sum_tmp_helper<double, false, false> plain(buffer, buffer, buffer, a != 0, b != 0, c != 0,
                                                              w != 0, 7, 9);
        EXPECT_EQ((std::array{plain.slot_order2, plain.slot_order3, plain.slot_order4, plain.slot_weight,
                              plain.slot_weight_square}),
                  (std::array<std::uint64_t, 5>{a, a + b, a + b + c, a + b + c + w, a + b + c + 2 * w}));
        const gpu::sum_tmp_helper<double, true, true> about(buffer, buffer, buffer, here, b != 0, c != 0,
                                                            w != 0, 7, 9);
        EXPECT_EQ(
            (std::array{about.slot_order3, about.slot_order4, about.slot_weight, about.slot_weight_square}),
            (std::array<std::uint64_t, 4>{b, b + c, b + c + w, b + c + 2 * w}));
    }
}

TEST(orders, local_memory_of_a_next_step_has_a_block_for_every_slot) {
    EXPECT_EQ(gpu::local_blocks(false, false), 4u);
    EXPECT_EQ(gpu::local_blocks(true, false), 3u);
    EXPECT_EQ(gpu::local_blocks(false, true), 6u);
    EXPECT_EQ(gpu::local_blocks(true, true), 5u);
}

TEST(orders, local_memory_of_a_weighted_kurtosis_is_six_blocks_and_no_more) {
    auto desc = test::default_desc();
    desc.max_work_group_size = 8;
    desc.local_memory_bytes = 6 * 8 * sizeof(double);
    sycl::queue enough(test::add_device(desc));
    const auto data = test::make<double>(
        {.n_dims = 2, .n_observations = 70, .weights = test::weighting::positive, .own_mean = true});
    auto computed = data;
    computed.mean.clear();
    const auto& how = test::arrangements.front();
    EXPECT_NO_THROW((test::run<double, 1>(enough, how, computed, {true}, test::call::kurtosis)));

    desc.local_memory_bytes = 5 * 8 * sizeof(double);
    sycl::queue fewer(test::add_device(desc));
    EXPECT_NO_THROW((test::run<double, 1>(fewer, how, data, {true}, test::call::kurtosis)));
    EXPECT_THROW((test::run<double, 1>(fewer, how, computed, {true}, test::call::kurtosis)), sycl::exception);
}

TEST(orders, order_4_without_order_3) {
    for (const auto& gpu : test::gpus()) {
        sycl::queue queue(gpu);
        const auto data = test::make<float>({.n_dims = 3, .n_observations = test::limit_of(gpu) + 1});
        for (const auto& how : test::arrangements) {
            const auto all =
                test::run<float, 3>(queue, how, data, {true, true, true}, test::call::central_moment);
            const auto some =
                test::run<float, 3>(queue, how, data, {true, false, true}, test::call::central_moment);
            EXPECT_EQ(some[0], all[0]) << how.text();
            EXPECT_EQ(some[2], all[2]) << how.text();
        }
    }
}
