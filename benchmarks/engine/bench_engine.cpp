// What the device path costs on the software GPU: nanoseconds per element by work-group limit and layout, and
// the microseconds from the submission of nothing to its completion. Medians of interleaved samples.

#include <basalt/basalt.h>

#include <stats/stats.hpp>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace stats = aurelo::qtx::stats;

namespace {

constexpr long n_dims = 8;
constexpr long n_observations = 1L << 17;
constexpr int n_samples = 7;

double nanoseconds(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> samples) {
    std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2),
                     samples.end());
    return samples[samples.size() / 2];
}

sycl::device gpu_with_limit(std::size_t limit) {
    bs_device_desc_t desc;
    bs_device_desc_init(&desc);
    desc.max_work_group_size = limit;
    bs_platform_handle_t platform = nullptr;
    bs_device_handle_t device = nullptr;
    bs_platform_get(&platform);
    bs_device_add(platform, &desc, &device);
    return sycl::ext::aurelo::basalt::make_device(sycl::ext::aurelo::basalt::make_platform(platform), device);
}

template <stats::layout L, typename T>
void measure(std::size_t limit, const char* layout_name, const char* type_name) {
    sycl::queue queue(gpu_with_limit(limit));
    T* const x = sycl::malloc_shared<T>(n_dims * n_observations, queue);
    T* const out = sycl::malloc_shared<T>(n_dims, queue);
    for (long i = 0; i < n_dims * n_observations; ++i) {
        x[i] = static_cast<T>(i % 1000) / 8;
    }
    const stats::dataset<L, T*> data{n_dims, n_observations, x};
    std::vector<double> max_ns;
    std::vector<double> mean_ns;
    std::vector<double> kurtosis_ns;
    for (int i = -1; i < n_samples; ++i) {
        const double elements = n_dims * n_observations;
        const double max = nanoseconds([&] { stats::max(queue, data, out).wait(); }) / elements;
        const double mean = nanoseconds([&] { stats::mean(queue, data, out).wait(); }) / elements;
        const double kurtosis = nanoseconds([&] { stats::kurtosis(queue, data, out).wait(); }) / elements;
        if (i >= 0) { // the first round warms up
            max_ns.push_back(max);
            mean_ns.push_back(mean);
            kurtosis_ns.push_back(kurtosis);
        }
    }
    std::printf("%6zu  %-14s  %-6s  %6.1f  %6.1f  %8.1f\n", limit, layout_name, type_name, median(max_ns),
                median(mean_ns), median(kurtosis_ns));
    sycl::free(x, queue);
    sycl::free(out, queue);
}

template <typename Submit>
double microseconds_to_complete(const Submit& submit) {
    std::vector<double> samples;
    for (int i = 0; i < 2000; ++i) {
        samples.push_back(nanoseconds([&] { submit().wait(); }) / 1000);
    }
    return median(samples);
}

} // namespace

int main() {
    std::printf("nanoseconds per element, %ld dimensions of %ld observations, USM form, median of %d\n",
                n_dims, n_observations, n_samples);
    std::printf(" limit  layout          type       max    mean  kurtosis\n");
    for (const std::size_t limit : {64UL, 256UL, 1024UL}) {
        measure<stats::layout::by_dimension, double>(limit, "by_dimension", "double");
        measure<stats::layout::by_observation, double>(limit, "by_observation", "double");
        measure<stats::layout::by_dimension, float>(limit, "by_dimension", "float");
    }
    sycl::queue gpu(gpu_with_limit(1024));
    sycl::queue cpu(sycl::cpu_selector_v);
    std::printf("\nmicroseconds from submission to completion, median of 2000\n");
    std::printf("empty kernel on the software GPU  %.1f\n",
                microseconds_to_complete([&] { return gpu.single_task([] {}); }));
    std::printf("empty host task                   %.1f\n", microseconds_to_complete([&] {
                    return cpu.submit([](sycl::handler& group) { group.host_task([] {}); });
                }));
}
