#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/run.hpp"

#include <stats/exception.hpp>

#include <memory>

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

std::string invalid(const std::string& estimate, const std::string& detail) {
    return "aurelo::qtx::stats::" + estimate + ": invalid argument: " + detail;
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
    double* const null = nullptr;

    /// The messages of a call with these outputs, or a mean and these outputs, in buffers and on pointers.
    template <typename Estimate, typename... Arrays>
    void expect_lengths(const std::string& name, const std::string& detail, const Estimate& estimate,
                        const Arrays&... outputs) {
        EXPECT_EQ(message_of<qtx::invalid_argument>([&] { estimate(gpu, in_buffers, outputs...); }),
                  invalid(name, detail));
    }
    template <typename Estimate, typename... Arrays>
    void expect_nulls(const std::string& name, const std::string& detail, const Estimate& estimate,
                      const Arrays&... outputs) {
        EXPECT_EQ(message_of<qtx::invalid_argument>([&] { estimate(gpu, on_pointers, outputs...); }),
                  invalid(name, detail));
    }
    template <typename Estimate, typename... Arrays>
    void expect_mean_length(const std::string& name, const std::string& detail, const Estimate& estimate,
                            const Arrays&... outputs) {
        EXPECT_EQ(message_of<qtx::invalid_argument>([&] { estimate(gpu, none, in_buffers, outputs...); }),
                  invalid(name, detail));
    }
    template <typename Estimate, typename... Arrays>
    void expect_mean_null(const std::string& name, const std::string& detail, const Estimate& estimate,
                          const Arrays&... outputs) {
        EXPECT_EQ(message_of<qtx::invalid_argument>([&] { estimate(gpu, null, on_pointers, outputs...); }),
                  invalid(name, detail));
    }
};

} // namespace

TEST_F(messages, minmax) {
    expect_lengths("max", "max array length is 0", test::call::max, none);
    expect_lengths("min", "min array length is 0", test::call::min, none);
    expect_lengths("min_max", "min array length is 0", test::call::min_max, none, none);
    expect_lengths("min_max", "max array length is 0", test::call::min_max, some, none);
    expect_nulls("max", "max is nullptr", test::call::max, null);
    expect_nulls("min", "min is nullptr", test::call::min, null);
    expect_nulls("min_max", "min is nullptr", test::call::min_max, null, null);
    expect_nulls("min_max", "max is nullptr", test::call::min_max, out.get(), null);
}

TEST_F(messages, one_output) {
    expect_lengths("mean", "mean array length is 0", test::call::mean, none);
    expect_lengths("variation", "variation array length is 0", test::call::variation, none);
    expect_lengths("skewness", "skewness array length is 0", test::call::skewness, none);
    expect_lengths("kurtosis", "kurtosis array length is 0", test::call::kurtosis, none);
    expect_nulls("mean", "mean is nullptr", test::call::mean, null);
    expect_nulls("variation", "variation is nullptr", test::call::variation, null);
    expect_nulls("skewness", "skewness is nullptr", test::call::skewness, null);
    expect_nulls("kurtosis", "kurtosis is nullptr", test::call::kurtosis, null);
}

TEST_F(messages, all_outputs_absent) {
    expect_lengths("raw_sum", "all sums arrays length is 0", test::call::raw_sum, none, none, none, none);
    expect_lengths("central_sum", "all sums arrays length is 0", test::call::central_sum, none, none, none);
    expect_lengths("raw_moment", "all moments arrays length is 0", test::call::raw_moment, none, none, none,
                   none);
    expect_lengths("central_moment", "all moments arrays length is 0", test::call::central_moment, none, none,
                   none);
    expect_nulls("raw_sum", "all sums are nullptr", test::call::raw_sum, null, null, null, null);
    expect_nulls("central_sum", "all sums are nullptr", test::call::central_sum, null, null, null);
    expect_nulls("raw_moment", "all moments are nullptr", test::call::raw_moment, null, null, null, null);
    expect_nulls("central_moment", "all moments are nullptr", test::call::central_moment, null, null, null);
}

TEST_F(messages, first_output_absent_while_a_later_one_is_given) {
    expect_lengths("raw_sum", "sum array length is 0", test::call::raw_sum, none, none, some, none);
    expect_lengths("raw_moment", "mean array length is 0", test::call::raw_moment, none, some, none, none);
    expect_lengths("central_sum", "central sum array length is 0", test::call::central_sum, none, some, none);
    expect_lengths("central_moment", "central moment array length is 0", test::call::central_moment, none,
                   none, some);
    expect_nulls("raw_sum", "sum is nullptr", test::call::raw_sum, null, null, null, out.get());
    expect_nulls("raw_moment", "mean is nullptr", test::call::raw_moment, null, null, out.get(), null);
    expect_nulls("central_sum", "central sum is nullptr", test::call::central_sum, null, out.get(), null);
    expect_nulls("central_moment", "central moment is nullptr", test::call::central_moment, null, null,
                 out.get());
    expect_mean_length("central_sum", "central sum array length is 0", test::call::central_sum, none, some,
                       none);
}

TEST_F(messages, a_mean_is_tested_after_the_outputs) {
    expect_mean_length("central_sum", "mean array length is 0", test::call::central_sum, some, none, none);
    expect_mean_length("central_moment", "mean array length is 0", test::call::central_moment, some, none,
                       none);
    expect_mean_length("variation", "mean array length is 0", test::call::variation, some);
    expect_mean_length("skewness", "mean array length is 0", test::call::skewness, some);
    expect_mean_length("kurtosis", "mean array length is 0", test::call::kurtosis, some);
    expect_mean_length("kurtosis", "kurtosis array length is 0", test::call::kurtosis, none);
    expect_mean_length("central_sum", "all sums arrays length is 0", test::call::central_sum, none, none,
                       none);
    expect_mean_null("central_sum", "mean is nullptr", test::call::central_sum, out.get(), null, null);
    expect_mean_null("central_moment", "mean is nullptr", test::call::central_moment, out.get(), null, null);
    expect_mean_null("variation", "mean is nullptr", test::call::variation, out.get());
    expect_mean_null("skewness", "mean is nullptr", test::call::skewness, out.get());
    expect_mean_null("kurtosis", "mean is nullptr", test::call::kurtosis, out.get());
    expect_mean_null("skewness", "skewness is nullptr", test::call::skewness, null);
}

TEST_F(messages, standard_central_estimates_have_no_device_code) {
    const auto standard_sum = [](sycl::queue& q, const auto& data, const auto&... outputs) {
        stats::central_sum<stats::method::standard>(q, data, outputs...);
    };
    const auto standard_moment = [](sycl::queue& q, const auto& data, const auto&... outputs) {
        stats::central_moment<stats::method::standard>(q, data, outputs...);
    };
    expect_lengths("central_moment", "all moments arrays length is 0", standard_moment, none, none, none);
    const std::string words = ": unimplemented functionality: for this method";
    EXPECT_EQ(message_of<qtx::unimplemented>([&] { standard_sum(gpu, in_buffers, some, none, none); }),
              "aurelo::qtx::stats::central_sum" + words);
    EXPECT_EQ(message_of<qtx::unimplemented>([&] { standard_sum(gpu, on_pointers, out.get(), null, null); }),
              "aurelo::qtx::stats::central_sum" + words);
    EXPECT_EQ(message_of<qtx::unimplemented>([&] { standard_moment(gpu, in_buffers, some, none, none); }),
              "aurelo::qtx::stats::central_moment" + words);
    EXPECT_EQ(
        message_of<qtx::unimplemented>([&] { standard_moment(gpu, on_pointers, out.get(), null, null); }),
        "aurelo::qtx::stats::central_moment" + words);
}

TEST_F(messages, an_accelerator_is_refused_after_the_arguments) {
    auto desc = test::default_desc();
    desc.type = BS_DEVICE_ACCELERATOR;
    std::snprintf(desc.name, sizeof desc.name, "matrix unit");
    gpu = sycl::queue(test::add_device(desc));
    expect_lengths("max", "max array length is 0", test::call::max, none);
    const std::string words = ": unsupported device: matrix unit";
    EXPECT_EQ(message_of<qtx::unsupported_device>([&] { stats::max(gpu, in_buffers, some); }),
              "aurelo::qtx::stats::max" + words);
    EXPECT_EQ(message_of<qtx::unsupported_device>([&] { stats::kurtosis(gpu, in_buffers, some); }),
              "aurelo::qtx::stats::kurtosis" + words);
    EXPECT_EQ(message_of<qtx::unsupported_device>(
                  [&] { stats::central_moment<stats::method::standard>(gpu, in_buffers, some, none, none); }),
              "aurelo::qtx::stats::central_moment" + words);
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
