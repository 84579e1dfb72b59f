// The public estimates on a CPU queue beside the read limit of the machine and beside other libraries.
#include "comparison.hpp"
#include "libraries.hpp"
#include "ours.hpp"
#include "pool.hpp"
#include "read_limit.hpp"
#include "small_calls.hpp"
#include "write_report.hpp"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <omp.h>

namespace {

using namespace peers;

volatile double sink;

struct options {
    bool quick = false;
    std::size_t elements = std::size_t(64) << 20;
    bench::round_plan plan = {25, 5, 1.5};
    std::string only;
    std::string json;
};

struct shape {
    std::int64_t dims;
    bool by_dimension;
};

constexpr shape shapes[] = {{1, true}, {8, true}, {8, false}, {3, false}, {100, false}};

/// \brief All estimates of plain double data; of weighted or float data all with 8 dimensions, else kurtosis.
bool wanted(estimate e, const shape& s, bool is_float, bool weighted) {
    if (weighted && e == estimate::min_max) {
        return false;
    }
    return e == estimate::kurtosis || (!is_float && !weighted) || (s.dims == 8 && !(is_float && weighted));
}

/// \brief Asynchronous errors of a public call end the program with their message.
void stop_on_error(const sycl::exception_list& errors) {
    for (const std::exception_ptr& error : errors) {
        std::rethrow_exception(error);
    }
}

class comparison {
public:
    comparison(const options& o, const sycl::queue& queue)
        : options_(o), queue_(queue), threads_(omp_get_max_threads()) {}

    template <class T>
    void run(const char* type) {
        const pool<T> memory(queue_, options_.elements);
        for (const bool weighted : {false, true}) {
            for (const shape& s : shapes) {
                data_set(memory.as(s.dims, s.by_dimension, weighted), s, type);
            }
        }
    }

    const nlohmann::json& rows() const { return rows_; }

private:
    template <class T>
    void data_set(const matrix<T>& m, const shape& s, const char* type) {
        const bool weighted = m.weights != nullptr;
        const std::size_t bytes = static_cast<std::size_t>((m.dims + weighted) * m.observations) * sizeof(T);
        std::unique_ptr<totals<quad>> exact;
        for (const estimate e : timed_estimates) {
            row r{e,
                  type,
                  s.by_dimension ? "by_dimension" : "by_observation",
                  m.dims,
                  m.observations,
                  weighted,
                  bytes,
                  {},
                  {}};
            if (!wanted(e, s, sizeof(T) == sizeof(float), weighted) ||
                r.title().find(options_.only) == std::string::npos) {
                continue;
            }
            if (!exact) {
                exact = std::make_unique<totals<quad>>(reference_totals(m));
            }
            r.reference = reference_of(e, *exact);
            compare(r, m);
            fmt::print("{}", table_line(r));
            std::fflush(stdout);
            rows_.push_back(to_json(r));
        }
    }

    template <class T>
    void compare(row& r, const matrix<T>& m) {
        const estimate e = r.e;
        const auto add = [&](const char* name, kind what, auto&& make) {
            contender side{name, what, {}, std::vector<double>(r.reference.size())};
            side.run = make(side.values.data());
            r.sides.push_back(std::move(side));
        };
        add("USM", kind::ours, [&](double* out) { return ours_usm(queue_, e, m, out); });
        add("buffer", kind::ours, [&](double* out) { return ours_buffer(queue_, e, m, out); });
        add("loop", kind::loop, [&](double* out) { return eigen_loop(e, m, threads_, out); });
        add("Eigen", kind::library, [&](double* out) { return eigen_expressions(e, m, threads_, out); });
        add("Armadillo", kind::library, [&](double* out) { return armadillo(e, m, threads_, out); });
        add("GSL", kind::library, [&](double* out) { return gsl(e, m, threads_, out); });
        add("Boost", kind::library, [&](double* out) { return boost_accumulators(e, m, threads_, out); });

        std::vector<job> jobs;
        for (const contender& side : r.sides) {
            jobs.push_back(side.run);
        }
        const auto times = bench::measure_rounds(
            jobs, [&] { sink = bench::read_memory(m.data, r.bytes); }, options_.plan);
        for (std::size_t i = 0; i < r.sides.size(); ++i) {
            contender& side = r.sides[i];
            side.time = times[i];
            side.digits = digits_of(e, side.values.data(), r.reference, r.is_float());
        }
    }

    options options_;
    sycl::queue queue_;
    int threads_;
    nlohmann::json rows_ = nlohmann::json::array();
};

void parse(CLI::App& app, options& o) {
    app.add_flag("--quick", o.quick, "4M elements and few samples: a look, not a measurement");
    auto* elements = app.add_option("--elements", o.elements, "elements of the data, weights included");
    auto* samples =
        app.add_option("--samples", o.plan.samples, "samples of every side")->check(CLI::Range(1, 10000));
    app.add_option("--least", o.plan.least, "samples of a side that exceeds the budget")
        ->check(CLI::Range(1, 10000));
    app.add_option("--budget", o.plan.budget, "seconds that one side may take in one row");
    app.add_option("--only", o.only, "rows whose title contains this, 'small' for the small calls");
    app.add_option("--json", o.json, "also write all results to this file");
    app.callback([&o, elements, samples] {
        if (o.quick) {
            o.elements = elements->count() ? o.elements : std::size_t(4) << 20;
            o.plan.samples = samples->count() ? o.plan.samples : 7;
            o.plan.budget = 0.25;
        }
        o.plan.least = std::min(o.plan.least, o.plan.samples);
        if (o.elements < 10000) {
            throw CLI::ValidationError("--elements", fmt::format("{} is below 10000", o.elements));
        }
    });
}

void run(const options& o) {
    const sycl::queue queue(sycl::cpu_selector_v, stop_on_error);
    fmt::print(
        "{} Mi elements, {} threads; ratio to the read limit / decimal digits, medians of {} samples, of at "
        "least {} for a side slower than {:.0f} ms; * too few digits to compete\n{}",
        o.elements >> 20, omp_get_max_threads(), o.plan.samples, o.plan.least,
        o.plan.budget / o.plan.samples * 1e3, table_head());
    comparison c(o, queue);
    c.run<double>("double");
    c.run<float>("float");
    nlohmann::json report = {
        {"threads", omp_get_max_threads()}, {"elements", o.elements}, {"rows", c.rows()}};
    if (std::string("small").find(o.only) != std::string::npos) {
        report["small_calls"] = small_calls(queue);
    }
    bench::write_report(report, o.json);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("The estimates on a CPU queue beside the read limit and beside other libraries.");
    options o;
    parse(app, o);
    CLI11_PARSE(app, argc, argv);
    try {
        run(o);
    } catch (const std::exception& error) {
        fmt::print(stderr, "bench_cpu: {}\n", error.what());
        return 1;
    }
    return 0;
}
