// Kurtosis of one matrix of any size by all sides, in seconds per call.
#ifndef BENCHMARKS_PEERS_SIDE_BY_SIDE_HPP
#define BENCHMARKS_PEERS_SIDE_BY_SIDE_HPP

#include "contender.hpp"
#include "matrix.hpp"
#include "reference.hpp"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <sycl/sycl.hpp>
#include <vector>

namespace peers {

class side_by_side {
public:
    /// \brief Sides "USM", "buffer" and "component", and every peer with one thread and with all: below some size a
    /// team of threads costs more than it brings.
    side_by_side(const sycl::queue& queue, const matrix<double>& m);

    /// \brief Times all sides interleaved; a sample is as many calls as take about \p sample_seconds.
    void measure(const bench::round_plan& plan, double sample_seconds);

    const matrix<double>& data() const { return m_; }
    const contender& named(const std::string& name) const;
    /// \brief The fastest peer with at least 10 digits.
    const contender& best_peer() const;
    /// \brief Seconds that reading the matrix takes at the read limit.
    double limit_seconds() const { return limit_seconds_; }
    nlohmann::json to_json() const;

private:
    template <class Make>
    void add(const std::string& name, kind what, Make&& make);
    void add_peers(int threads, const std::string& suffix);

    matrix<double> m_;
    std::vector<quad> reference_;
    std::vector<contender> sides_;
    double limit_seconds_ = 0;
};

} // namespace peers

#endif
