#include "report.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "text.hpp"
#include "text_table.hpp"

namespace aurelo::qtx::describe {

namespace {

constexpr std::size_t terminal_width = 100;

/// Enough digits to tell rows apart, few enough to read; the JSON output has them all. A float holds no more
/// than six.
template <typename T>
constexpr int shown_digits = std::min(7, std::numeric_limits<T>::digits10);

std::string counted(std::size_t n, std::string_view thing) {
    return fmt::format("{} {}{}", fmt::group_digits(n), thing, n == 1 ? "" : "s");
}

/// The first file's name, and how many more there are.
std::string sources(const options& opts) {
    const std::string first = escaped(opts.files[0] == "-" ? "standard input" : opts.files[0]);
    const std::size_t others = opts.files.size() - 1;
    return others == 0 ? first : fmt::format("{} and {}", first, counted(others, "more file"));
}

template <typename T>
std::string title(const report<T>& shown) {
    const options& opts = shown.opts;
    std::string columns = counted(shown.data.n_dims(), "column");
    if (opts.weights) {
        columns += fmt::format(" weighted by {}", escaped(*opts.weights));
    }
    std::string text =
        fmt::format("{}: {}, {}\n", sources(opts), counted(shown.data.n_observations, "row"), columns);
    text += shown.device.name + "\n";
    text += fmt::format("{} path, {}, {}, {}, {}", shown.device.cpu_path ? "cpu" : "gpu", opts.type,
                        opts.layout, opts.form, opts.method);
    if (opts.mean) {
        text += ", about the given mean";
    }
    if (shown.n_chunks != 0) {
        text += fmt::format("; merged from {}", counted(shown.n_chunks, "chunk"));
    } else if (!shown.device.cpu_path) {
        const std::size_t passes = launch_passes(shown.data.n_observations, shown.device.work_group_limit);
        text += fmt::format("; work-group limit {}, {}", fmt::group_digits(shown.device.work_group_limit),
                            passes == 1 ? "1 pass" : fmt::format("{} passes", passes));
    }
    text += "\n";
    return text;
}

template <typename T>
text_column estimate_column(const report<T>& shown, const computed<T>& estimate) {
    text_column column{std::string(estimate.what->name), {}};
    for (std::size_t d = 0; d < estimate.values.size(); ++d) {
        column.cells.push_back(
            shown.data.masked(d) ? "-" : fmt::format("{:.{}g}", estimate.values[d], shown_digits<T>));
    }
    align_points(column.cells);
    return column;
}

} // namespace

std::size_t launch_passes(std::size_t n_observations, std::size_t work_group_limit) {
    std::size_t passes = 1;
    while (work_group_limit > 1 && n_observations > work_group_limit) {
        n_observations = (n_observations + work_group_limit - 1) / work_group_limit;
        ++passes;
    }
    return passes;
}

template <typename T>
std::string to_table(const report<T>& shown, bool styled) {
    text_column names{"", {}, false};
    for (const std::string& name : shown.data.dimensions) {
        names.cells.push_back(escaped(name));
    }
    std::vector<text_column> columns{names};
    for (const computed<T>& estimate : shown.estimates) {
        columns.push_back(estimate_column(shown, estimate));
    }
    return title(shown) + "\n" + lay_out(columns, terminal_width, styled);
}

template std::string to_table(const report<float>&, bool);
template std::string to_table(const report<double>&, bool);

} // namespace aurelo::qtx::describe
