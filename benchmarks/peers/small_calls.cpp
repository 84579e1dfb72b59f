#include "small_calls.hpp"

#include "pool.hpp"
#include "side_by_side.hpp"

#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace peers {
namespace {

std::string line(const side_by_side& c) {
    std::string text = fmt::format("8 x {:<7} {:<15}", c.data().observations,
                                   c.data().by_dimension ? "by_dimension" : "by_observation");
    for (const char* name : {"USM", "buffer", "component"}) {
        text += fmt::format(" {:>10.2f}", c.named(name).seconds() * 1e6);
    }
    return text + fmt::format(" {:>10.2f} {}\n", c.best_peer().seconds() * 1e6, c.best_peer().name);
}

} // namespace

nlohmann::json small_calls(const sycl::queue& queue) {
    const pool<double> memory(queue, 800000);
    nlohmann::json cases = nlohmann::json::array();
    fmt::print("\nkurtosis, microseconds from the call to a complete result, median of 51\n{:<27} {:>10} "
               "{:>10} {:>10} {:>10}\n",
               "", "USM", "buffer", "component", "best peer");
    for (const std::int64_t observations : {10, 1000, 100000}) {
        for (const bool by_dimension : {true, false}) {
            side_by_side c(queue, {memory.data(), nullptr, 8, observations, by_dimension});
            c.measure({51, 51, 0}, 1e-3);
            fmt::print("{}", line(c));
            std::fflush(stdout);
            cases.push_back(c.to_json());
        }
    }
    return cases;
}

} // namespace peers
