#include "small_calls.hpp"

#include "libraries.hpp"
#include "ours.hpp"
#include "pool.hpp"
#include "reference.hpp"
#include "sandwich.hpp"

#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <omp.h>
#include <string>
#include <vector>

namespace peers {
namespace {

constexpr estimate asked = estimate::kurtosis;

struct side {
    std::string name;
    bool peer;
    job run;
    std::vector<double> values;
    std::vector<double> times = {};
    double digits = 0;

    double microseconds() const { return bench::median(times) * 1e6; }
};

class small_case {
public:
    small_case(const sycl::queue& queue, const matrix<double>& m)
        : m_(m), reference_(reference_of(asked, reference_totals(m))) {
        add("USM", false, [&](double* out) { return ours_usm(queue, asked, m, out); });
        add("buffer", false, [&](double* out) { return ours_buffer(queue, asked, m, out); });
        add("component", false, [&](double* out) { return component(asked, m, out); });
        // Below some size a team of threads costs more than it brings: the peers are tried with one and with all.
        add_peers(1, "");
        if (omp_get_max_threads() > 1) {
            add_peers(omp_get_max_threads(), fmt::format(" x{}", omp_get_max_threads()));
        }
    }

    void measure(int rounds) {
        const auto repeats = std::max<std::int64_t>(1, 200000 / (m_.dims * m_.observations + 400));
        for (int round = -2; round < rounds; ++round) {
            for (side& s : sides_) {
                const double time = bench::seconds([&] {
                    for (std::int64_t i = 0; i < repeats; ++i) {
                        s.run();
                    }
                });
                if (round >= 0) {
                    s.times.push_back(time / static_cast<double>(repeats));
                }
            }
        }
        for (side& s : sides_) {
            s.digits = digits_of(asked, s.values.data(), reference_, false);
        }
    }

    std::string line() const {
        std::string text = fmt::format("8 x {:<7} {:<15}", m_.observations,
                                       m_.by_dimension ? "by_dimension" : "by_observation");
        for (std::size_t i = 0; i < 3; ++i) {
            text += fmt::format(" {:>10.2f}", sides_[i].microseconds());
        }
        const side& best = best_peer();
        return text + fmt::format(" {:>10.2f} {}\n", best.microseconds(), best.name);
    }

    nlohmann::json to_json() const {
        nlohmann::json sides = nlohmann::json::array();
        for (const side& s : sides_) {
            sides.push_back({{"name", s.name}, {"microseconds", s.microseconds()}, {"digits", s.digits}});
        }
        return {{"dims", m_.dims},
                {"observations", m_.observations},
                {"layout", m_.by_dimension ? "by_dimension" : "by_observation"},
                {"best_peer", best_peer().name},
                {"sides", sides}};
    }

private:
    template <class Make>
    void add(const std::string& name, bool peer, Make&& make) {
        side s{name, peer, {}, std::vector<double>(reference_.size())};
        s.run = make(s.values.data());
        sides_.push_back(std::move(s));
    }

    void add_peers(int threads, const std::string& suffix) {
        add("Eigen loop" + suffix, true, [&](double* out) { return eigen_loop(asked, m_, threads, out); });
        add("Eigen" + suffix, true, [&](double* out) { return eigen_expressions(asked, m_, threads, out); });
        add("Armadillo" + suffix, true, [&](double* out) { return armadillo(asked, m_, threads, out); });
        add("GSL" + suffix, true, [&](double* out) { return gsl(asked, m_, threads, out); });
        add("Boost" + suffix, true, [&](double* out) { return boost_accumulators(asked, m_, threads, out); });
    }

    const side& best_peer() const {
        const side* best = nullptr;
        for (const side& s : sides_) {
            if (s.peer && s.digits >= 10 && (!best || s.microseconds() < best->microseconds())) {
                best = &s;
            }
        }
        if (!best) {
            throw std::logic_error("small calls: no peer has 10 digits");
        }
        return *best;
    }

    matrix<double> m_;
    std::vector<quad> reference_;
    std::vector<side> sides_;
};

} // namespace

nlohmann::json small_calls(const sycl::queue& queue) {
    const pool<double> memory(queue, 800000);
    nlohmann::json cases = nlohmann::json::array();
    fmt::print("\nkurtosis, microseconds from the call to a complete result, median of 51\n{:<27} {:>10} "
               "{:>10} {:>10} "
               "{:>10}\n",
               "", "USM", "buffer", "component", "best peer");
    for (const std::int64_t observations : {10, 1000, 100000}) {
        for (const bool by_dimension : {true, false}) {
            small_case c(queue, {memory.data(), nullptr, 8, observations, by_dimension});
            c.measure(51);
            fmt::print("{}", c.line());
            std::fflush(stdout);
            cases.push_back(c.to_json());
        }
    }
    return cases;
}

} // namespace peers
