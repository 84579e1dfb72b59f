// What an offload call costs beside its kernels: microseconds from call to return on the software GPU and on OpenCL.
#include "../sandwich.hpp"
#include "kernel_clock.hpp"

#include <openmp_device.hpp>
#include <statistics_task.hpp>

#include <csv_table.hpp>
#include <stats/omp_offload.h>

#include <fmt/format.h>

#include <cstdlib>
#include <random>

namespace {

using aurelo::qtx::describe::csv_table;

constexpr std::size_t n_dims = 8;

csv_table<double> random_table(std::size_t n_rows) {
    csv_table<double> table;
    table.columns.assign(n_dims, "x");
    table.n_rows = n_rows;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> values(0.5, 1.5);
    for (std::size_t i = 0; i < n_rows * n_dims; ++i) {
        table.values.push_back(values(random));
    }
    return table;
}

struct figures {
    double call;
    double kernels;
};

figures measure(const example::statistics_task& task, unsigned long long estimates,
                omptarget_interop_t interop, int samples) {
    std::vector<double> calls, kernels;
    for (int i = -2; i < samples; ++i) {
        bench::take_kernel_seconds();
        int status = 0;
        const double call = bench::seconds(
            [&] { status = qtx_tsb_dSSCompute_omp_offload_ilp64(task.handle(), estimates, 1, interop); });
        if (status != 0) {
            fmt::print(stderr, "bench_offload: status {}\n", status);
            std::exit(1);
        }
        if (i >= 0) {
            calls.push_back(call);
            kernels.push_back(bench::take_kernel_seconds());
        }
    }
    return {bench::median(calls), bench::median(kernels)};
}

void print_line(const std::string& device, const char* what, const figures& f) {
    fmt::print("{:<10} {:<28} {:>12.1f} {:>12.1f} {:>11.1f} %\n", device, what, f.call * 1e6, f.kernels * 1e6,
               100 * (1 - f.kernels / f.call));
}

void measure_device(const std::string& runtime) {
    const auto device = example::open_device(runtime);
    const auto interop = device->make_interop();
    const example::statistics_task small(*device, random_table(1000));
    const example::statistics_task large(*device, random_table(1000000));
    constexpr unsigned long long all = 0xFE000FFF;
    print_line(runtime, "empty mask", measure(small, 0, interop, 501));
    print_line(runtime, "1,000 x 8, all estimates", measure(small, all, interop, 51));
    print_line(runtime, "1,000,000 x 8, all estimates", measure(large, all, interop, 5));
    omptarget_interop_destroy(interop);
}

} // namespace

int main(int argc, char** argv) {
    fmt::print("{:<10} {:<28} {:>12} {:>12} {:>13}\n", "run-time", "", "call, us", "kernels, us",
               "not kernels");
    for (int i = 1; i < argc; ++i) {
        measure_device(argv[i]);
    }
    for (const char* const runtime : {"basalt", "opencl"}) {
        if (argc == 1) {
            measure_device(runtime);
        }
    }
    return 0;
}
