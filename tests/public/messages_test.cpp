#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

#include <stats/exception.hpp>

#include <memory>
#include <utility>

// Every refusal of the public forms, word for word, in the order in which they are tested.

namespace {

using test::layout;
namespace qtx = aurelo::qtx;
namespace stats = aurelo::qtx::stats;

/// Message of the exception of type Error that `call` throws.
template <typename Error, typename Call>
std::string message_of(const Call& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    } catch (const std::exception& error) {
        return std::string("another exception: ") + error.what();
    }
    return "nothing was thrown";
}

class messages : public testing::Test {
protected:
    using buffer = sycl::buffer<double, 1>;

    sycl::queue gpu{test::gpu_with_limit(8)};
    buffer none{sycl::range<1>(0)};
    buffer some{sycl::range<1>(2)};
    stats::dataset<layout::by_dimension, buffer> in_buffers{2, 3, buffer(sycl::range<1>(6))};
    test::usm_array<double> values{gpu, std::vector<double>{1, 2, 3, 4, 5, 6}};
    test::usm_array<double> out{gpu, std::vector<double>{0, 0}};
    stats::dataset<layout::by_observation, double*> on_pointers{2, 3, values.get()};

    /**
     * The messages of a call with outputs that are \p given or not, and an absent mean in front if \p with_mean, in
     * buffers and on pointers: \p what says which array is missed.
     */
    template <bool with_mean = false, std::size_t n, typename Estimate>
    void expect_absent(const std::string& name, const std::string& what, const Estimate& estimate,
                       const bool (&given)[n]) {
        const bool all = what.starts_with("all");
        const auto expect = [&](const auto& data, auto absent, auto present, const std::string& detail) {
            const auto call = [&]<std::size_t... k>(std::index_sequence<k...>) {
                if constexpr (with_mean) {
                    estimate(gpu, absent, data, (given[k] ? present : absent)...);
                } else {
                    estimate(gpu, data, (given[k] ? present : absent)...);
                }
            };
            EXPECT_EQ(message_of<qtx::invalid_argument>([&] { call(std::make_index_sequence<n>{}); }),
                      "aurelo::qtx::stats::" + name + ": invalid argument: " + what + detail);
        };
        expect(in_buffers, none, some, all ? " arrays length is 0" : " array length is 0");
        expect(on_pointers, static_cast<double*>(nullptr), out.get(), all ? " are nullptr" : " is nullptr");
    }
};

} // namespace

TEST_F(messages, outputs_are_tested_in_their_order) {
    using namespace test;
    expect_absent("max", "max", call::max, {false});
    expect_absent("min", "min", call::min, {false});
    expect_absent("min_max", "min", call::min_max, {false, false});
    expect_absent("min_max", "max", call::min_max, {true, false});
    expect_absent("mean", "mean", call::mean, {false});
    expect_absent("variation", "variation", call::variation, {false});
    expect_absent("skewness", "skewness", call::skewness, {false});
    expect_absent("kurtosis", "kurtosis", call::kurtosis, {false});
    expect_absent("raw_sum", "all sums", call::raw_sum, {false, false, false, false});
    expect_absent("central_sum", "all sums", call::central_sum, {false, false, false});
    expect_absent("raw_moment", "all moments", call::raw_moment, {false, false, false, false});
    expect_absent("central_moment", "all moments", call::central_moment, {false, false, false});
    for (const bool early : {false, true}) {
        expect_absent("raw_sum", "sum", call::raw_sum, {false, early, false, !early});
        expect_absent("raw_moment", "mean", call::raw_moment, {false, early, !early, false});
        expect_absent("central_sum", "central sum", call::central_sum, {false, early, !early});
        expect_absent("central_moment", "central moment", call::central_moment, {false, early, !early});
    }
}

TEST_F(messages, a_mean_is_tested_after_the_outputs) {
    using namespace test;
    expect_absent<true>("central_sum", "mean", call::central_sum, {true, false, false});
    expect_absent<true>("central_moment", "mean", call::central_moment, {true, false, false});
    expect_absent<true>("variation", "mean", call::variation, {true});
    expect_absent<true>("skewness", "mean", call::skewness, {true});
    expect_absent<true>("kurtosis", "mean", call::kurtosis, {true});
    expect_absent<true>("central_sum", "all sums", call::central_sum, {false, false, false});
    expect_absent<true>("central_sum", "central sum", call::central_sum, {false, true, false});
    expect_absent<true>("skewness", "skewness", call::skewness, {false});
    expect_absent<true>("kurtosis", "kurtosis", call::kurtosis, {false});
}

TEST_F(messages, standard_central_estimates_have_no_device_code) {
    const auto sum = [](auto&... arguments) { stats::central_sum<stats::method::standard>(arguments...); };
    const auto moment = [](auto&... arguments) {
        stats::central_moment<stats::method::standard>(arguments...);
    };
    expect_absent("central_moment", "all moments", moment, {false, false, false});
    double* const null = nullptr;
    double* const given = out.get();
    const auto expect_refused = [&](const std::string& name, const auto& estimate) {
        const std::string words =
            "aurelo::qtx::stats::" + name + ": unimplemented functionality: for this method";
        EXPECT_EQ(message_of<qtx::unimplemented>([&] { estimate(gpu, in_buffers, some, none, none); }),
                  words);
        EXPECT_EQ(message_of<qtx::unimplemented>([&] { estimate(gpu, on_pointers, given, null, null); }),
                  words);
    };
    expect_refused("central_sum", sum);
    expect_refused("central_moment", moment);
}

TEST_F(messages, an_accelerator_is_refused_after_the_arguments) {
    auto desc = test::default_desc();
    desc.type = BS_DEVICE_ACCELERATOR;
    std::snprintf(desc.name, sizeof desc.name, "matrix unit");
    gpu = sycl::queue(test::add_device(desc));
    expect_absent("max", "max", test::call::max, {false});
    const auto expect_refused = [](const std::string& name, const auto& call) {
        EXPECT_EQ(message_of<qtx::unsupported_device>(call),
                  "aurelo::qtx::stats::" + name + ": unsupported device: matrix unit");
    };
    expect_refused("max", [&] { stats::max(gpu, in_buffers, some); });
    expect_refused("kurtosis", [&] { stats::kurtosis(gpu, in_buffers, some); });
    expect_refused("central_moment", [&] {
        stats::central_moment<stats::method::standard>(gpu, in_buffers, some, none, none);
    });
}

TEST(exceptions, compose_their_message_from_the_parts_that_are_there) {
    EXPECT_STREQ(qtx::exception("stats", "max", "info").what(), "aurelo::qtx::stats::max: info");
    EXPECT_STREQ(qtx::exception("", "max", "info").what(), "aurelo::qtx::max: info");
    EXPECT_STREQ(qtx::exception("stats", "", "").what(), "aurelo::qtx::stats");
    EXPECT_STREQ(qtx::computation_error("stats", "", "").what(), "aurelo::qtx::stats: computation error");
    EXPECT_STREQ(qtx::computation_error("stats", "mean", "why").what(),
                 "aurelo::qtx::stats::mean: computation error: why");
    EXPECT_STREQ(qtx::unimplemented("stats", "mean", "").what(),
                 "aurelo::qtx::stats::mean: unimplemented functionality");
}

TEST(exceptions, keep_their_message_without_the_device_and_are_caught_as_their_base) {
    auto device = std::make_unique<sycl::device>(test::gpu_with_limit(8));
    const auto name = device->get_info<sycl::info::device::name>();
    try {
        throw qtx::device_bad_alloc("stats", "kurtosis", *device);
    } catch (const qtx::exception& error) {
        device.reset();
        EXPECT_EQ(std::string(error.what()),
                  "aurelo::qtx::stats::kurtosis: cannot allocate memory on " + name);
        EXPECT_EQ(dynamic_cast<const qtx::invalid_argument*>(&error), nullptr);
    }
}
