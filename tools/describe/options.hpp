#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace aurelo::qtx::describe {

/// What the command line says. The words of a choice are kept as written: they go into the output unchanged.
struct options {
    std::vector<std::string> files; ///< read as one table, one after the other; "-" is standard input
    bool json = false;
    bool list_devices = false;
    std::string device = "cpu";                        ///< cpu, gpu, opencl, accelerator
    std::string type = "double";                       ///< float, double
    std::string layout = "by_dimension";               ///< by_dimension, by_observation
    std::string form = "usm";                          ///< buffer, usm
    std::string method = "fast";                       ///< fast, standard
    std::vector<std::string> mask;                     ///< columns left out of the computation
    std::optional<std::string> weights;                ///< the column of weights
    std::optional<std::vector<std::string>> mean;      ///< the caller's mean, one text per dimension
    std::optional<std::vector<std::string>> estimates; ///< names; absent: all that can be computed
    std::optional<std::int64_t> chunk;                 ///< rows of a chunk; absent: as many as fit

    /// How messages name the table: by its first file, as all have the same columns.
    const std::string& table_name() const { return files.front(); }
    bool standard_method() const { return method == "standard"; }
};

/// Text that was asked for instead of a run, by --help or --version.
struct help_text {
    std::string text;
};

/// \throws input_error for options that are unknown, malformed or contradict each other.
std::variant<options, help_text> parse_options(int argc, const char* const* argv);

} // namespace aurelo::qtx::describe
