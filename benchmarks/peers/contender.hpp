// One side of a comparison: a job that computes an estimate, what it computed and how long it took.
#ifndef BENCHMARKS_PEERS_CONTENDER_HPP
#define BENCHMARKS_PEERS_CONTENDER_HPP

#include "matrix.hpp"
#include "rounds.hpp"

#include <string>
#include <vector>

namespace peers {

enum class kind { ours, loop, library };

struct contender {
    std::string name;
    kind what;
    job run;
    std::vector<double> values; ///< what the job has computed; its address is the job's output
    double digits = 0;
    bench::measured time = {};

    /// \brief Of one call.
    double seconds() const { return time.result.seconds; }
};

} // namespace peers

#endif
