// Decimal digits of every estimate against 113-bit arithmetic, on data where digits get lost.
#include "digit_sets.hpp"
#include "libraries.hpp"
#include "ours.hpp"
#include "reference.hpp"
#include "samples.hpp"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>

namespace {

using namespace peers;

constexpr std::array quantities = {"mean", "sd", "skewness", "kurtosis", "raw sums", "central sums"};
using quantity_digits = std::array<double, quantities.size()>;

/// \brief Makes the job of an estimate of one matrix.
using maker = std::function<job(estimate, double*)>;

std::vector<double> values_of(const maker& make, estimate e, std::size_t dims) {
    std::vector<double> values(static_cast<std::size_t>(outputs_of(e)) * dims);
    make(e, values.data())();
    return values;
}

/// \brief Order 3 of data that are near symmetric is a difference of sums of the size of sd^3 each.
double worst_central_sum(const std::vector<double>& values, const totals<quad>& exact, bool is_float) {
    double worst = 17;
    const std::size_t dims = exact.mean.size();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t d = i % dims;
        const auto sd = static_cast<double>(square_root(exact.central[2][d] / exact.weight));
        const double scale = i / dims == 1 ? sd * sd * sd * static_cast<double>(exact.weight) : 0;
        const double value = is_float ? static_cast<double>(static_cast<float>(values[i])) : values[i];
        worst = std::min(worst, digits(value, exact.central[i / dims + 2][d], scale));
    }
    return worst;
}

double worst_deviation(std::vector<double> variances, const totals<quad>& exact) {
    double worst = 17;
    for (std::size_t d = 0; d < exact.mean.size(); ++d) {
        const quad variance = finish(estimate::central_moment, exact, 0, d);
        worst = std::min(worst, digits(std::sqrt(variances[d]), square_root(variance)));
    }
    return worst;
}

quantity_digits judge(const maker& make, const totals<quad>& exact, bool is_float) {
    const std::size_t dims = exact.mean.size();
    const auto of = [&](estimate e) {
        return digits_of(e, values_of(make, e, dims).data(), reference_of(e, exact), is_float);
    };
    return {of(estimate::mean),
            worst_deviation(values_of(make, estimate::central_moment, dims), exact),
            of(estimate::skewness),
            of(estimate::kurtosis),
            of(estimate::raw_sum),
            worst_central_sum(values_of(make, estimate::central_sum, dims), exact, is_float)};
}

/// \brief The values of a set in all its dimensions, and weights between 0.5 and 1.5 or none, in one layout.
template <class T>
struct arrays {
    arrays(const digit_set& set, bool by_dimension, bool weighted)
        : observations(static_cast<std::int64_t>(set.values.size())), dims(set.dims), columns(by_dimension) {
        const std::size_t n = set.values.size(), k = static_cast<std::size_t>(dims);
        data.resize(n * k);
        for (std::size_t d = 0; d < k; ++d) {
            for (std::size_t i = 0; i < n; ++i) {
                data[columns ? d * n + i : i * k + d] = static_cast<T>(set.values[(i + d * (n / 3)) % n]);
            }
        }
        for (std::size_t i = 0; weighted && i < n; ++i) {
            weights.push_back(static_cast<T>(0.5 + std::exp(5 - exponential_sample(i))));
        }
    }

    matrix<T> view() {
        return {data.data(), weights.empty() ? nullptr : weights.data(), dims, observations, columns};
    }

    std::int64_t observations, dims;
    bool columns;
    std::vector<T> data, weights;
};

template <class T>
void dump(const std::string& path, const std::vector<T>& values) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(values.data()),
               static_cast<std::streamsize>(values.size() * sizeof(T)));
    if (!file.flush()) {
        throw std::runtime_error(fmt::format("cannot write '{}'", path));
    }
}

std::vector<std::string> texts(const std::vector<quad>& values) {
    std::vector<std::string> all;
    for (const quad value : values) {
        all.push_back(to_text(value));
    }
    return all;
}

class report {
public:
    report(const sycl::queue& queue, std::string folder) : queue_(queue), folder_(std::move(folder)) {}

    template <class T>
    void set(const digit_set& s) {
        for (const bool weighted : {false, true}) {
            arrays<T> columns(s, true, weighted);
            const totals<quad> exact = reference_totals(columns.view());
            nlohmann::json entry = {{"name", s.name},
                                    {"type", s.is_float ? "float" : "double"},
                                    {"dims", s.dims},
                                    {"observations", columns.observations},
                                    {"weighted", weighted}};
            ours(entry, "ours by_dimension", columns, exact, s);
            if (s.dims > 1) {
                arrays<T> rows(s, false, weighted);
                ours(entry, "ours by_observation", rows, exact, s);
            }
            const matrix<T> m = columns.view();
            line(entry, "GSL",
                 judge([&](estimate e, double* out) { return gsl_whole(e, m, out); }, exact, s.is_float));
            keep_for_others(entry, columns, exact);
            json_.push_back(std::move(entry));
        }
    }

    const nlohmann::json& json() const { return json_; }

private:
    template <class T>
    void ours(nlohmann::json& entry, const char* name, arrays<T>& a, const totals<quad>& exact,
              const digit_set& s) {
        const matrix<T> m = a.view();
        line(entry, name,
             judge([&](estimate e, double* out) { return ours_usm(queue_, e, m, out); }, exact, s.is_float));
    }

    void line(nlohmann::json& entry, const char* side, const quantity_digits& found) {
        std::string text = fmt::format("{:<16} {:<10} {:<20}", entry["name"].get<std::string>(),
                                       entry["weighted"].get<bool>() ? "weighted" : "", side);
        for (const double d : found) {
            text += d >= 17 ? fmt::format(" {:>12}", "exact") : fmt::format(" {:>12.1f}", d);
        }
        fmt::print("{}\n", text);
        std::fflush(stdout);
        entry["sides"][side] = found;
    }

    /// The data and the exact results, for programs of other languages.
    template <class T>
    void keep_for_others(nlohmann::json& entry, const arrays<T>& a, const totals<quad>& exact) {
        std::vector<quad> deviations;
        for (std::size_t d = 0; d < exact.mean.size(); ++d) {
            deviations.push_back(square_root(finish(estimate::central_moment, exact, 0, d)));
        }
        entry["reference"] = {{"mean", texts(reference_of(estimate::mean, exact))},
                              {"sd", texts(deviations)},
                              {"skewness", texts(reference_of(estimate::skewness, exact))},
                              {"kurtosis", texts(reference_of(estimate::kurtosis, exact))},
                              {"raw sums", texts(reference_of(estimate::raw_sum, exact))},
                              {"central sums", texts(reference_of(estimate::central_sum, exact))}};
        if (!folder_.empty()) {
            const std::string stem = fmt::format("set{}", json_.size());
            dump(folder_ + '/' + stem + ".data", a.data);
            entry["data"] = stem + ".data";
            if (!a.weights.empty()) {
                dump(folder_ + '/' + stem + ".weights", a.weights);
                entry["weights"] = stem + ".weights";
            }
        }
    }

    sycl::queue queue_;
    std::string folder_;
    nlohmann::json json_ = nlohmann::json::array();
};

void run(const std::string& folder) {
    const sycl::queue queue(sycl::cpu_selector_v, [](const sycl::exception_list& errors) {
        for (const std::exception_ptr& error : errors) {
            std::rethrow_exception(error);
        }
    });
    std::string head = fmt::format("{:<16} {:<10} {:<20}", "digits of", "", "");
    for (const char* quantity : quantities) {
        head += fmt::format(" {:>12}", quantity);
    }
    fmt::print("{}\n", head);
    report r(queue, folder);
    for (const digit_set& s : digit_sets()) {
        s.is_float ? r.set<float>(s) : r.set<double>(s);
    }
    if (!folder.empty()) {
        std::ofstream file(folder + "/digits.json");
        file << r.json().dump(1) << '\n';
        if (!file.flush()) {
            throw std::runtime_error(fmt::format("cannot write '{}/digits.json'", folder));
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Decimal digits of every estimate against 113-bit arithmetic.");
    std::string folder;
    app.add_option("--dump", folder, "write data, exact results and digits.json to this folder")
        ->check(CLI::ExistingDirectory);
    CLI11_PARSE(app, argc, argv);
    try {
        run(folder);
    } catch (const std::exception& error) {
        fmt::print(stderr, "bench_digits: {}\n", error.what());
        return 1;
    }
    return 0;
}
