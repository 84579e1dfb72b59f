#include <stats/stats.hpp>

#include <cstdio>
#include <string>

// Data that a kernel of the program's own makes, an estimate of them, and an error.

namespace stats = aurelo::qtx::stats;

namespace {

struct squares {
    using element_type = float;
    float* values;
    void operator()(sycl::nd_item<1> item) const {
        const std::size_t i = item.get_global_id(0);
        values[i] = static_cast<float>(i * i);
    }
};

/// The program's kernel has no device image, which OpenCL devices need.
sycl::event fill(sycl::queue& queue, float* values, std::size_t n) {
    if (queue.get_backend() != sycl::backend::opencl) {
        return queue.parallel_for(sycl::nd_range<1>(n, n), squares{values});
    }
    for (std::size_t i = 0; i < n; ++i) {
        values[i] = static_cast<float>(i * i);
    }
    return {};
}

/// Two dimensions of four observations: 0 1 4 9 and 16 25 36 49.
void print_extrema_and_means(sycl::queue& queue) {
    float* const values = sycl::malloc_shared<float>(8, queue);
    float* const results = sycl::malloc_shared<float>(6, queue);
    const auto data = stats::make_dataset<stats::layout::by_dimension>(2, 4, values);
    const sycl::event filled = fill(queue, values, 8);
    stats::min_max(queue, data, results, results + 2, {filled}).wait();
    stats::mean(queue, data, results + 4, {filled}).wait();
    std::printf("%s: %g to %g about %g, %g to %g about %g\n", queue.get_device().is_gpu() ? "GPU" : "CPU",
                results[0], results[2], results[4], results[1], results[3], results[5]);
    sycl::free(values, queue);
    sycl::free(results, queue);
}

void print_refusal(sycl::queue& queue) {
    const auto data = stats::make_dataset<stats::layout::by_dimension>(2, 4, sycl::buffer<double, 1>(8));
    try {
        stats::mean(queue, data, sycl::buffer<double, 1>(0));
    } catch (const aurelo::qtx::invalid_argument& refusal) {
        std::printf("%s\n", refusal.what());
    }
}

} // namespace

/// With the argument "opencl" the GPU has to be an OpenCL device.
int main(int argc, char** argv) {
    sycl::queue gpu(sycl::gpu_selector_v);
    sycl::queue cpu(sycl::cpu_selector_v);
    if (argc > 1 && argv[1] == std::string("opencl") && gpu.get_backend() != sycl::backend::opencl) {
        std::fprintf(stderr, "the GPU is no OpenCL device\n");
        return 1;
    }
    print_extrema_and_means(gpu);
    print_extrema_and_means(cpu);
    print_refusal(gpu);
}
