// The results of a program as a file that the report is made of.
#ifndef BENCHMARKS_WRITE_REPORT_HPP
#define BENCHMARKS_WRITE_REPORT_HPP

#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace bench {

/// \brief Writes \p report to the file \p path, or nothing if the path is empty.
inline void write_report(const nlohmann::json& report, const std::string& path) {
    if (path.empty()) {
        return;
    }
    std::ofstream file(path);
    file << report.dump(1) << '\n';
    if (!file.flush()) {
        throw std::runtime_error(fmt::format("cannot write '{}'", path));
    }
}

} // namespace bench

#endif
