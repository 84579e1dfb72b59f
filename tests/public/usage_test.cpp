#include <stats/stats.hpp>

#include <gtest/gtest.h>

#include <vector>

// The library as its users meet it: public headers, the shared library, deduced templates.

namespace stats = aurelo::qtx::stats;

TEST(usage, buffers) {
    sycl::queue queue(sycl::gpu_selector_v);
    const std::vector<double> values{1, 2, 3, 4, 10, 20, 30, 40}; // two dimensions of four observations
    stats::dataset<stats::layout::by_dimension, sycl::buffer<double, 1>> data(
        2, 4, sycl::buffer<double, 1>(values.begin(), values.end()));
    sycl::buffer<double, 1> mean(sycl::range<1>(2));
    stats::mean(queue, data, mean);
    const sycl::host_accessor result(mean, sycl::read_only);
    EXPECT_EQ(result[0], 2.5);
    EXPECT_EQ(result[1], 25);
}

TEST(usage, pointers_and_events) {
    sycl::queue queue(sycl::gpu_selector_v);
    float* values = sycl::malloc_shared<float>(6, queue);
    float* out = sycl::malloc_shared<float>(4, queue);
    const sycl::event filled = queue.fill(values, 1.5F, 6);
    const auto data = stats::make_dataset<stats::layout::by_observation>(2, 3, values);
    const sycl::event sum = stats::raw_sum(queue, data, out, static_cast<float*>(nullptr), out + 2,
                                           static_cast<float*>(nullptr), {filled});
    sycl::event::wait({sum});
    EXPECT_EQ(out[1], 4.5F);
    EXPECT_EQ(out[3], 3 * 1.5F * 1.5F * 1.5F);
    sycl::free(out, queue);
    sycl::free(values, queue);
}

TEST(usage, weights_and_a_mask_are_optional_arguments) {
    sycl::queue queue(sycl::gpu_selector_v);
    const std::vector<float> values{1, 2, 3, 7, 8, 9};
    const std::vector<float> weights{1, 2, 1};
    const std::vector<std::int64_t> mask{1, 0};
    const auto data = stats::make_dataset<stats::layout::by_dimension>(
        2, 3, sycl::buffer<float, 1>(values.begin(), values.end()),
        sycl::buffer<float, 1>(weights.begin(), weights.end()),
        sycl::buffer<std::int64_t, 1>(mask.begin(), mask.end()));
    const std::vector<float> before{0, -1};
    sycl::buffer<float, 1> max(before.begin(), before.end());
    stats::max<stats::method::fast>(queue, data, max);
    const sycl::host_accessor result(max, sycl::read_only);
    EXPECT_EQ(result[0], 3);
    EXPECT_EQ(result[1], -1) << "a masked dimension keeps what it held";
}
