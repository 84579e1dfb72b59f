// Kurtosis as the data grow: observations of one dimension, and dimensions at a fixed number of elements. How it grows
// with threads is told by running this with OMP_NUM_THREADS.
#include "pool.hpp"
#include "side_by_side.hpp"
#include "write_report.hpp"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <omp.h>

namespace {

using namespace peers;

struct options {
    std::int64_t most = 100'000'000;
    std::int64_t elements = std::int64_t(1) << 24;
    bench::round_plan plan = {25, 5, 1.0};
    std::string only;
    std::string json;
};

/// \brief Measures one matrix, prints its line and returns its results.
nlohmann::json point(const sycl::queue& queue, const matrix<double>& m, const options& o) {
    side_by_side c(queue, m);
    c.measure(o.plan, 1e-3);
    const double size = static_cast<double>(m.dims * m.observations) * 1e-9;
    const auto& peer = c.best_peer();
    fmt::print("{:>5} x {:<10} {:<15} {:>10.3f} {:>10.3f} {:>10.3f} {:>10.3f} {}\n", m.dims, m.observations,
               m.by_dimension ? "by_dimension" : "by_observation", c.limit_seconds() / size,
               c.named("USM").seconds() / size, c.named("component").seconds() / size, peer.seconds() / size,
               peer.name);
    std::fflush(stdout);
    return c.to_json();
}

nlohmann::json grow(const options& o, const sycl::queue& queue, const pool<double>& memory) {
    nlohmann::json observations = nlohmann::json::array(), dimensions = nlohmann::json::array();
    for (std::int64_t n = 100; n <= o.most && o.only != "dimensions"; n *= 10) {
        observations.push_back(point(queue, {memory.data(), nullptr, 1, n, true}, o));
    }
    for (const bool by_dimension : {true, false}) {
        for (const std::int64_t dims : {1, 3, 8, 30, 100, 300, 1000}) {
            if (o.only != "observations") {
                const matrix<double> m{memory.data(), nullptr, dims, o.elements / dims, by_dimension};
                dimensions.push_back(point(queue, m, o));
            }
        }
    }
    return {{"threads", omp_get_max_threads()}, {"observations", observations}, {"dimensions", dimensions}};
}

void run(const options& o) {
    const sycl::queue queue(sycl::cpu_selector_v);
    const pool<double> memory(queue, static_cast<std::size_t>(std::max(o.most, o.elements)));
    fmt::print("kurtosis, nanoseconds per element, {} threads\n{:<34} {:>10} {:>10} {:>10} {:>10}\n",
               omp_get_max_threads(), "", "read limit", "USM", "component", "best peer");
    const nlohmann::json report = grow(o, queue, memory);
    bench::write_report(report, o.json);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Kurtosis as the data grow, beside other libraries.");
    options o;
    app.add_option("--most", o.most, "most observations of one dimension")->check(CLI::Range(100L, 1L << 40));
    app.add_option("--elements", o.elements, "elements of the matrices that grow in dimensions")
        ->check(CLI::Range(10000L, 1L << 40));
    app.add_option("--samples", o.plan.samples, "samples of every side")->check(CLI::Range(1, 10000));
    app.add_option("--least", o.plan.least, "samples of a side that exceeds the budget")
        ->check(CLI::Range(1, 10000));
    app.add_option("--budget", o.plan.budget, "seconds that one side may take in one row");
    app.add_option("--only", o.only, "one series")->check(CLI::IsMember({"observations", "dimensions"}));
    app.add_option("--json", o.json, "also write all results to this file");
    CLI11_PARSE(app, argc, argv);
    o.plan.least = std::min(o.plan.least, o.plan.samples);
    try {
        run(o);
    } catch (const std::exception& error) {
        fmt::print(stderr, "bench_growth: {}\n", error.what());
        return 1;
    }
    return 0;
}
