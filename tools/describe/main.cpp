#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include <fmt/format.h>

#include "csv_table.hpp"
#include "description.hpp"
#include "device.hpp"
#include "errors.hpp"
#include "estimate_list.hpp"
#include "options.hpp"
#include "progress.hpp"
#include "report.hpp"
#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

constexpr int success = 0;
constexpr int computation_failed = 1;
constexpr int bad_input = 2;

/// Bold headings are for people at a terminal, unless they refuse them by the usual variable.
bool styled_output() {
    return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
}

void write_out(const std::string& text) {
    std::cout << text << std::flush;
    if (!std::cout) {
        throw std::runtime_error("standard output cannot be written");
    }
}

estimate_selection selection_of(const options& opts, bool cpu_path) {
    auto selection = opts.estimates ? select_estimates(*opts.estimates)
                                    : default_estimates(opts.standard_method(), cpu_path);
    check_selection(selection, opts.standard_method(), opts.mean.has_value());
    return selection;
}

template <typename T>
std::string describe_files(const options& opts) {
    const sycl::device device = find_device(opts.device);
    const device_facts facts = facts_of(device);
    description<T> described(device, opts, selection_of(opts, facts.cpu_path));
    progress_bar bar(opts.files);
    const reading_plan plan{[&](std::size_t n_columns) { return rows_at_once(opts, n_columns); },
                            [&](const reading_state& state) { bar.show(state); }};
    read_csv_files<T>(opts.files, plan,
                      [&](const csv_table<T>& table, bool last) { described.take(table, last); });
    const auto shown = described.finished(facts);
    return opts.json ? to_json(shown) : to_table(shown, styled_output());
}

std::string output_of(const options& opts) {
    if (opts.list_devices) {
        return device_list(styled_output());
    }
    return opts.type == "float" ? describe_files<float>(opts) : describe_files<double>(opts);
}

int run(int argc, const char* const* argv) {
    const auto parsed = parse_options(argc, argv);
    if (const auto* help = std::get_if<help_text>(&parsed)) {
        write_out(help->text);
    } else {
        write_out(output_of(std::get<options>(parsed)));
    }
    return success;
}

int complain(const std::exception& error, int exit_code) {
    std::cerr << "qtx-describe: " << escaped(error.what()) << std::endl;
    return exit_code;
}

} // namespace

} // namespace aurelo::qtx::describe

int main(int argc, char** argv) {
    using namespace aurelo::qtx::describe;
    try {
        return run(argc, argv);
    } catch (const input_error& error) {
        return complain(error, bad_input);
    } catch (const std::exception& error) {
        return complain(error, computation_failed);
    }
}
