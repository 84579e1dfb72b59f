// An OpenMP host program that offloads a statistics task: with an OpenMP compiler the interop object would come from
// `#pragma omp interop`, and the call from target-variant dispatch of the component's compute function.
#include "openmp_device.hpp"
#include "statistics_task.hpp"

#include <errors.hpp>
#include <stats/omp_offload.h>
#include <text_table.hpp>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <chrono>
#include <cstdio>

namespace {

using namespace example;
using aurelo::qtx::describe::csv_table;

struct options {
    std::string file;
    std::string runtime = "basalt";
    bool nowait = false;
};

using interop_object = std::unique_ptr<omptarget_interop_s, decltype(&omptarget_interop_destroy)>;

/// All estimates by one call. Prints what the call and the wait for its completion took.
void compute(const statistics_task& task, const interop_object& interop, bool nowait) {
    using clock = std::chrono::steady_clock;
    const auto since = [](clock::time_point start) {
        return std::chrono::duration<double, std::milli>(clock::now() - start).count();
    };
    unsigned long long estimates = 0;
    for (const auto& each : all_estimates) {
        estimates |= each.bit;
    }
    omptarget_interop_set_nowait(interop.get(), nowait ? 1 : 0);
    const auto start = clock::now();
    const int status = qtx_tsb_dSSCompute_omp_offload_ilp64(task.handle(), estimates, 1, interop.get());
    const double returned = since(start);
    if (status != 0) {
        throw device_error(fmt::format("the offload entry refused the task, status {}", status));
    }
    if (!nowait) {
        fmt::print("results after {:.2f} ms\n", returned);
        return;
    }
    // Here the program would go on with work of its own.
    if (omptarget_interop_wait(interop.get(), 1, 600000) == 0) {
        throw device_error("no completion within ten minutes");
    }
    fmt::print("call returned after {:.2f} ms, results after {:.2f} ms\n", returned, since(start));
}

void print_results(const statistics_task& task, const csv_table<double>& table) {
    using aurelo::qtx::describe::text_column;
    std::vector<text_column> columns{{"estimate", {}, false}};
    for (const auto& each : all_estimates) {
        columns[0].cells.emplace_back(each.name);
    }
    for (std::size_t d = 0; d < table.columns.size(); ++d) {
        columns.push_back({table.columns[d], {}});
        for (std::size_t i = 0; i < all_estimates.size(); ++i) {
            columns.back().cells.push_back(fmt::format("{:.12g}", task.results(i)[d]));
        }
    }
    fmt::print("{}", aurelo::qtx::describe::lay_out(columns, 160, false));
}

void run(const options& chosen) {
    const auto table = aurelo::qtx::describe::read_csv_file<double>(chosen.file);
    const auto device = open_device(chosen.runtime);
    const statistics_task task(*device, table);
    const interop_object interop(device->make_interop(), &omptarget_interop_destroy);
    if (interop == nullptr) {
        throw device_error("no interop object");
    }
    fmt::print("{} observations of {} dimensions on {}\n", table.n_rows, table.columns.size(),
               device->name());
    compute(task, interop, chosen.nowait);
    print_results(task, table);
}

} // namespace

int main(int argc, char** argv) {
    options chosen;
    CLI::App app("Statistics of the columns of a CSV file, offloaded to a device.");
    app.add_option("FILE", chosen.file, "CSV file")->required();
    app.add_option("--runtime", chosen.runtime, "Foreign run-time of the interop object")
        ->check(CLI::IsMember({"opencl", "sycl", "basalt"}))
        ->capture_default_str();
    app.add_flag("--nowait", chosen.nowait, "Go on, and be told of the completion");
    CLI11_PARSE(app, argc, argv);
    try {
        run(chosen);
    } catch (const aurelo::qtx::describe::input_error& error) {
        fmt::print(stderr, "offload_task: {}\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        fmt::print(stderr, "offload_task: {}\n", error.what());
        return 1;
    }
    return 0;
}
