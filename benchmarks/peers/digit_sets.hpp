// Data on which statistics lose digits.
#ifndef BENCHMARKS_PEERS_DIGIT_SETS_HPP
#define BENCHMARKS_PEERS_DIGIT_SETS_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace peers {

struct digit_set {
    std::string name;
    std::vector<double> values; ///< of one dimension, in their order
    bool is_float = false;
    std::int64_t dims = 3; ///< further dimensions hold the same values, rotated
};

std::vector<digit_set> digit_sets();

} // namespace peers

#endif
