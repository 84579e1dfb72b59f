#include "comparison.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace peers {
namespace {

std::string count(std::int64_t n) {
    constexpr std::int64_t mega = 1 << 20;
    return n % mega == 0 ? fmt::format("{}M", n / mega) : fmt::format("{}", n);
}

std::string ahead(const contender* ours, const contender* other) {
    if (!ours || !other) {
        return "-";
    }
    return fmt::format("{:.2f} {}", ours->time.result.ratio / other->time.result.ratio, other->name);
}

} // namespace

std::string row::title() const {
    return fmt::format("{} {} {} {} x {}{}", name_of(e), type, layout, dims, count(observations),
                       weighted ? " weighted" : "");
}

const contender* row::best(kind what) const {
    const contender* found = nullptr;
    for (const contender& side : sides) {
        if (side.what == what && competes(side) &&
            (!found || side.time.result.ratio > found->time.result.ratio)) {
            found = &side;
        }
    }
    return found;
}

std::string table_head() {
    return fmt::format("{:<58} {:>6} {:>9} {:>9} {:>10} {:>10} {:>10} {:>10} {:>10}  {:>16} {:>18}\n", "row",
                       "GB/s", "USM", "buffer", "Eigen loop", "Eigen expr", "Armadillo", "GSL", "Boost",
                       "ours / loop", "ours / library");
}

std::string table_line(const row& r) {
    const double limit = r.sides.front().time.result.limit;
    std::string line = fmt::format("{:<58} {:>6.1f}", r.title(), static_cast<double>(r.bytes) / limit * 1e-9);
    for (const contender& side : r.sides) {
        line += fmt::format(" {:>{}}",
                            fmt::format("{:.3f}/{:.0f}{}", side.time.result.ratio, std::floor(side.digits),
                                        r.competes(side) ? "" : "*"),
                            side.what == kind::ours ? 9 : 10);
    }
    const contender* ours = r.best(kind::ours);
    return line + fmt::format("  {:>16} {:>18}\n", ahead(ours, r.best(kind::loop)),
                              ahead(ours, r.best(kind::library)));
}

nlohmann::json to_json(const row& r) {
    nlohmann::json sides = nlohmann::json::array();
    for (const contender& side : r.sides) {
        const bench::sandwich& s = side.time.result;
        sides.push_back({{"name", side.name},
                         {"ours", side.what == kind::ours},
                         {"library", side.what == kind::library},
                         {"ratio", s.ratio},
                         {"quartiles", {s.low, s.high}},
                         {"seconds", s.seconds},
                         {"samples", side.time.samples},
                         {"digits", side.digits},
                         {"competes", r.competes(side)}});
    }
    nlohmann::json reference = nlohmann::json::array();
    for (const quad value : r.reference) {
        reference.push_back(to_text(value));
    }
    return {{"title", r.title()},
            {"estimate", name_of(r.e)},
            {"type", r.type},
            {"layout", r.layout},
            {"dims", r.dims},
            {"observations", r.observations},
            {"weighted", r.weighted},
            {"bytes", r.bytes},
            {"limit_seconds", r.sides.front().time.result.limit},
            {"digits_wanted", r.digits_wanted()},
            {"reference", reference},
            {"sides", sides}};
}

} // namespace peers
