#include "side_by_side.hpp"

#include "libraries.hpp"
#include "ours.hpp"
#include "read_limit.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <omp.h>
#include <stdexcept>

namespace peers {
namespace {

constexpr estimate asked = estimate::kurtosis;
constexpr double digits_wanted = 10;

volatile double sink;

/// \brief Its rows are fixed-size arrays, compiled for these widths.
bool loop_exists(const matrix<double>& m) {
    return m.by_dimension || m.dims == 1 || m.dims == 3 || m.dims == 8 || m.dims == 100;
}

job repeated(const job& call, std::int64_t times) {
    return [&call, times] {
        for (std::int64_t i = 0; i < times; ++i) {
            call();
        }
    };
}

/// \brief Seconds of a warm call: the first ones wake threads and fill caches, and would make samples of too few calls.
double warm_seconds(const job& call, double enough) {
    double fastest = bench::seconds(call);
    for (double spent = fastest; spent < enough; spent += fastest) {
        fastest = std::min(fastest, bench::seconds(call));
    }
    return fastest;
}

} // namespace

side_by_side::side_by_side(const sycl::queue& queue, const matrix<double>& m)
    : m_(m), reference_(reference_of(asked, reference_totals(m))) {
    add("USM", kind::ours, [&](double* out) { return ours_usm(queue, asked, m, out); });
    add("buffer", kind::ours, [&](double* out) { return ours_buffer(queue, asked, m, out); });
    add("component", kind::ours, [&](double* out) { return component(asked, m, out); });
    add_peers(1, "");
    if (omp_get_max_threads() > 1) {
        add_peers(omp_get_max_threads(), fmt::format(" x{}", omp_get_max_threads()));
    }
}

template <class Make>
void side_by_side::add(const std::string& name, kind what, Make&& make) {
    contender s{name, what, {}, std::vector<double>(reference_.size())};
    s.run = make(s.values.data());
    sides_.push_back(std::move(s));
}

void side_by_side::add_peers(int threads, const std::string& suffix) {
    if (loop_exists(m_)) {
        add("Eigen loop" + suffix, kind::loop,
            [&](double* out) { return eigen_loop(asked, m_, threads, out); });
    }
    add("Eigen" + suffix, kind::library,
        [&](double* out) { return eigen_expressions(asked, m_, threads, out); });
    add("Armadillo" + suffix, kind::library, [&](double* out) { return armadillo(asked, m_, threads, out); });
    add("GSL" + suffix, kind::library, [&](double* out) { return gsl(asked, m_, threads, out); });
    add("Boost" + suffix, kind::library,
        [&](double* out) { return boost_accumulators(asked, m_, threads, out); });
}

void side_by_side::measure(const bench::round_plan& plan, double sample_seconds) {
    const auto bytes = static_cast<std::size_t>(m_.dims * m_.observations) * sizeof(double);
    const job limit = [this, bytes] { sink = bench::read_memory(m_.data, bytes); };
    std::vector<std::int64_t> repeats;
    std::vector<job> jobs;
    for (const contender& s : sides_) {
        const double once = std::max(warm_seconds(s.run, sample_seconds), 1e-9);
        repeats.push_back(
            std::clamp<std::int64_t>(static_cast<std::int64_t>(sample_seconds / once), 1, 1000));
        jobs.push_back(repeated(s.run, repeats.back()));
    }
    const auto measured = bench::measure_rounds(jobs, limit, plan);
    limit_seconds_ = measured.front().result.limit;
    for (std::size_t i = 0; i < sides_.size(); ++i) {
        sides_[i].time = measured[i];
        sides_[i].time.result.seconds /= static_cast<double>(repeats[i]);
        sides_[i].digits = digits_of(asked, sides_[i].values.data(), reference_, false);
    }
}

const contender& side_by_side::named(const std::string& name) const {
    return *std::find_if(sides_.begin(), sides_.end(), [&](const contender& s) { return s.name == name; });
}

const contender& side_by_side::best_peer() const {
    const contender* best = nullptr;
    for (const contender& s : sides_) {
        if (s.what != kind::ours && s.digits >= digits_wanted && (!best || s.seconds() < best->seconds())) {
            best = &s;
        }
    }
    if (!best) {
        throw std::logic_error(
            fmt::format("no peer has {} digits of {} x {}", digits_wanted, m_.dims, m_.observations));
    }
    return *best;
}

nlohmann::json side_by_side::to_json() const {
    nlohmann::json sides = nlohmann::json::array();
    for (const contender& s : sides_) {
        sides.push_back({{"name", s.name}, {"seconds", s.seconds()}, {"digits", s.digits}});
    }
    return {{"dims", m_.dims},
            {"observations", m_.observations},
            {"layout", m_.by_dimension ? "by_dimension" : "by_observation"},
            {"limit_seconds", limit_seconds_},
            {"best_peer", best_peer().name},
            {"sides", sides}};
}

} // namespace peers
