// One row of the comparison: an estimate of one matrix by all sides, timed and judged.
#ifndef BENCHMARKS_PEERS_COMPARISON_HPP
#define BENCHMARKS_PEERS_COMPARISON_HPP

#include "contender.hpp"
#include "reference.hpp"

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace peers {

struct row {
    estimate e;
    std::string type;
    std::string layout;
    std::int64_t dims;
    std::int64_t observations;
    bool weighted;
    std::size_t bytes;
    std::vector<quad> reference;
    std::vector<contender> sides;

    std::string title() const;
    bool is_float() const { return type == "float"; }
    /// Digits that a result must have to be an answer to the same question.
    double digits_wanted() const { return is_float() ? 6 : 10; }
    bool competes(const contender& side) const { return side.digits >= digits_wanted(); }
    /// The fastest contender of a kind that competes, or null.
    const contender* best(kind what) const;
};

std::string table_head();
std::string table_line(const row& r);
nlohmann::json to_json(const row& r);

} // namespace peers

#endif
