// Every rank computes its slice of the rows on a device of its own; one reduction merges the slices' statistics, and
// rank 0 prints the estimates of the whole.
#include "communicator.hpp"

#include <compute.hpp>
#include <csv_table.hpp>
#include <device.hpp>
#include <errors.hpp>
#include <merged.hpp>
#include <options.hpp>
#include <problem.hpp>
#include <report.hpp>
#include <text.hpp>

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <optional>

namespace {

using namespace aurelo::qtx::describe;
using example::communicator;

/// The slice of \p whole that is \p rank's; the sizes of slices differ by one row at most.
///
/// The ranks of a real program would hold their slices from the start: from a file of their own, from a part of
/// a file that all can read, or from a simulation.
csv_table<double> slice_of(const csv_table<double>& whole, std::size_t rank, std::size_t size) {
    const std::size_t first = whole.n_rows * rank / size;
    const std::size_t last = whole.n_rows * (rank + 1) / size;
    const auto at = [&](std::size_t row) {
        return whole.values.begin() + static_cast<std::ptrdiff_t>(row * whole.columns.size());
    };
    return {whole.columns, last - first, {at(first), at(last)}};
}

/// More ranks than rows leave some slices empty: make_partials() then gives the identity of merging.
void describe_together(const communicator& ranks, const options& opts) {
    const auto table = read_csv_file<double>(opts.table_name());
    const auto data = make_problem(
        slice_of(table, static_cast<std::size_t>(ranks.rank()), static_cast<std::size_t>(ranks.size())),
        opts);
    const sycl::device device = find_device(opts.device);
    compute_queue queue(device);
    const auto own =
        opts.form == "buffer" ? partials_with_buffers(queue, data) : partials_with_usm(queue, data);
    const auto whole = ranks.merge_on_first(own);
    if (ranks.rank() == 0) {
        problem<double> shape = data;
        shape.n_observations = table.n_rows;
        const auto results = computed_of(whole, default_estimates(false, true), data.mean);
        const report<double> shown{opts, shape, facts_of(device), results,
                                   static_cast<std::size_t>(ranks.size())};
        std::fputs((opts.json ? to_json(shown) : to_table(shown, false)).c_str(), stdout);
    }
}

/// What of the command line of qtx-describe has no meaning here is refused.
void refuse_foreign_options(const options& opts) {
    if (opts.list_devices || opts.chunk || opts.estimates || opts.standard_method() ||
        opts.type != "double" || opts.files.size() != 1 || opts.table_name() == "-") {
        throw input_error("one FILE and --json, --device, --layout, --form, --mask, --weights and --mean are "
                          "all that this example takes");
    }
}

void run(const communicator& ranks, int argc, const char* const* argv) {
    const auto parsed = parse_options(argc, argv);
    const auto* const opts = std::get_if<options>(&parsed);
    if (opts == nullptr) {
        throw input_error("README.md beside the source tells the options");
    }
    refuse_foreign_options(*opts);
    describe_together(ranks, *opts);
}

} // namespace

int main(int argc, char** argv) {
    const communicator ranks(&argc, &argv);
    try {
        run(ranks, argc, argv);
    } catch (const std::exception& error) {
        const bool bad_input = dynamic_cast<const input_error*>(&error) != nullptr;
        fmt::print(stderr, "mpi_describe: rank {}: {}\n", ranks.rank(), escaped(error.what()));
        communicator::give_up(bad_input ? 2 : 1);
    }
    return 0;
}
