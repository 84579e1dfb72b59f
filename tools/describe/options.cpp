#include "options.hpp"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "csv_rows.hpp"
#include "errors.hpp"
#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

/// Lists as the command line holds them, before they are split.
struct raw_lists {
    std::string mask;
    std::string weights;
    std::string mean;
    std::string estimates;
};

constexpr const char* footer = R"(
FILE is a CSV file with a header line of column names and numbers below; "-" reads standard input.
Several files, all with the same columns, are described as one.
Names with commas in a list are quoted as in the file: --mask '"a,b",c'.

Exit codes: 0 success, 1 the computation failed, 2 bad input or options.
)";

std::vector<std::string> split_list(const std::string& option, const std::string& text) {
    std::vector<std::string> items;
    for (const std::string& item : split_csv_line(text, option)) {
        items.emplace_back(trimmed(item));
    }
    if (items.empty()) {
        throw input_error(fmt::format("{}: the list is empty", option));
    }
    return items;
}

void add_choice(CLI::App& app, const char* name, std::string& value, const char* help,
                std::vector<std::string> choices) {
    app.add_option(name, value, help)->check(CLI::IsMember(std::move(choices)))->capture_default_str();
}

void declare(CLI::App& app, options& result, raw_lists& lists) {
    app.add_option("FILE", result.files, "CSV files");
    app.add_flag("--json", result.json, "Print one JSON object instead of a table");
    app.add_flag("--list-devices", result.list_devices, "Print the devices and end");
    add_choice(app, "--device", result.device, "Where to compute", {"cpu", "gpu", "opencl", "accelerator"});
    add_choice(app, "--type", result.type, "Element type", {"float", "double"});
    add_choice(app, "--layout", result.layout, "Order of the matrix in memory",
               {"by_dimension", "by_observation"});
    add_choice(app, "--form", result.form, "How the library gets the data", {"buffer", "usm"});
    add_choice(app, "--method", result.method, "Method of computation", {"fast", "standard"});
    app.add_option(
           "--chunk", result.chunk,
           "Rows that are read and computed at a time; if not given, chunks are made of files that are "
           "too large for one piece")
        ->type_name("ROWS");
    app.add_option("--mask", lists.mask, "Columns left out of the computation")->type_name("COL,COL,...");
    app.add_option("--weights", lists.weights, "Column of weights; it is no dimension")->type_name("COL");
    app.add_option("--mean", lists.mean, "Your mean for each dimension, masked ones included")
        ->type_name("V,V,...");
    app.add_option("--estimates", lists.estimates, "Estimates to compute; all if not given")
        ->type_name("LIST");
}

void refuse_contradictions(const CLI::App& app, const options& result) {
    if (result.list_devices) {
        const auto given = app.get_options(
            [](const CLI::Option* o) { return o->count() > 0 && !o->check_name("--list-devices"); });
        if (!given.empty()) {
            throw input_error(fmt::format("--list-devices: cannot be used with {}", given[0]->get_name()));
        }
        return;
    }
    if (result.files.empty()) {
        throw input_error("FILE: no file is given; --help tells more");
    }
    if (std::count(result.files.begin(), result.files.end(), "-") > 1) {
        throw input_error("FILE: '-' is given twice, but standard input can be read only once");
    }
    if (result.chunk && *result.chunk < 1) {
        throw input_error(
            fmt::format("--chunk: {} rows are asked for, but a chunk has one at least", *result.chunk));
    }
    if (result.chunk && result.standard_method()) {
        throw input_error("--chunk: cannot be used with --method standard, which needs all rows at a time");
    }
    if (result.mean && result.standard_method()) {
        throw input_error(
            "--mean: cannot be used with --method standard, which has no form with the caller's mean");
    }
    if (result.weights && std::count(result.mask.begin(), result.mask.end(), *result.weights) > 0) {
        throw input_error(fmt::format("--mask: {} is the column of --weights", in_quotes(*result.weights)));
    }
}

void take_lists(const CLI::App& app, const raw_lists& lists, options& result) {
    if (app.count("--mask") > 0) {
        result.mask = split_list("--mask", lists.mask);
    }
    if (app.count("--weights") > 0) {
        const auto names = split_list("--weights", lists.weights);
        if (names.size() != 1) {
            throw input_error(
                fmt::format("--weights: {} columns are given where one is expected", names.size()));
        }
        result.weights = names[0];
    }
    if (app.count("--mean") > 0) {
        result.mean = split_list("--mean", lists.mean);
    }
    if (app.count("--estimates") > 0) {
        result.estimates = split_list("--estimates", lists.estimates);
    }
}

} // namespace

std::variant<options, help_text> parse_options(int argc, const char* const* argv) {
    CLI::App app("Describes the columns of a CSV file: minimum, maximum, mean, sums, moments and more.",
                 "qtx-describe");
    app.set_version_flag("--version", "qtx-describe " QTX_DESCRIBE_VERSION);
    app.footer(footer);
    options result;
    raw_lists lists;
    declare(app, result, lists);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return help_text{app.help()};
    } catch (const CLI::CallForVersion& version) {
        return help_text{std::string(version.what()) + "\n"};
    } catch (const CLI::ParseError& error) {
        throw input_error(error.what());
    }
    take_lists(app, lists, result);
    refuse_contradictions(app, result);
    return result;
}

} // namespace aurelo::qtx::describe
