// The command line, and what it makes of a table.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "errors.hpp"
#include "options.hpp"
#include "problem.hpp"

namespace aurelo::qtx::describe {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

options parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "qtx-describe");
    return std::get<options>(parse_options(static_cast<int>(arguments.size()), arguments.data()));
}

template <typename Action>
std::string error_of(Action action) {
    try {
        action();
    } catch (const input_error& error) {
        return error.what();
    }
    return "no error";
}

csv_table<double> three_columns() {
    return {{"a", "b", "c"}, 2, {1, 2, 3, 4, 5, 6}};
}

TEST(options, lists_split_at_commas_and_keep_quoted_ones) {
    const auto opts = parse({"f.csv", "--mask", "a,\"b,c\"", "--weights", "w", "--mean", "-1, 2e3", "--json",
                             "--estimates", "min,kurtosis"});
    EXPECT_THAT(opts.files, ElementsAre("f.csv"));
    EXPECT_TRUE(opts.json);
    EXPECT_THAT(opts.mask, ElementsAre("a", "b,c"));
    EXPECT_EQ(opts.weights, "w");
    EXPECT_THAT(opts.mean.value(), ElementsAre("-1", "2e3"));
    EXPECT_THAT(opts.estimates.value(), ElementsAre("min", "kurtosis"));
    EXPECT_THAT(parse({"--mask", "a,b", "f.csv"}).files, ElementsAre("f.csv")) << "no part of the list";
    EXPECT_THAT(parse({"a.csv", "--chunk", "70", "-", "b.csv"}).files, ElementsAre("a.csv", "-", "b.csv"));
}

TEST(options, faults_name_option_and_value) {
    const std::pair<std::vector<const char*>, const char*> cases[] = {
        {{}, "FILE: no file"},
        {{"f.csv", "--type", "half"}, "--type: half"},
        {{"f.csv", "--device", "tpu"}, "--device: tpu"},
        {{"f.csv", "--nonsense"}, "--nonsense"},
        {{"-", "f.csv", "-"}, "FILE: '-' is given twice"},
        {{"f.csv", "--chunk", "0"}, "--chunk: 0 rows"},
        {{"f.csv", "--chunk", "-5"}, "--chunk: -5 rows"},
        {{"f.csv", "--chunk", "5", "--method", "standard"}, "--chunk: cannot be used with --method standard"},
        {{"f.csv", "--mask"}, "--mask"},
        {{"f.csv", "--mask", ""}, "--mask: the list is empty"},
        {{"f.csv", "--weights", "a,b"}, "--weights: 2 columns"},
        {{"f.csv", "--type", "float", "--type", "double"}, "--type"},
        {{"f.csv", "--mean", "1", "--method", "standard"}, "--mean: cannot be used with --method standard"},
        {{"f.csv", "--mask", "a,w", "--weights", "w"}, "--mask: 'w' is the column of --weights"},
        {{"--list-devices", "f.csv"}, "--list-devices: cannot be used with FILE"},
        {{"--list-devices", "--json"}, "--list-devices: cannot be used with --json"},
    };
    for (const auto& [arguments, message] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const std::string error = error_of([&, words = arguments] { parse(words); });
        EXPECT_THAT(error, HasSubstr(message));
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    }
}

TEST(problem, layouts_place_the_same_elements_and_weights_leave_the_matrix) {
    options opts;
    opts.files = {"f.csv"};
    EXPECT_THAT(make_problem(three_columns(), opts).observations, ElementsAre(1, 4, 2, 5, 3, 6));
    EXPECT_THAT(make_problem(three_columns(), opts).mask, IsEmpty());
    opts.weights = "b";
    opts.mask = {"c"};
    EXPECT_THAT(make_problem(three_columns(), opts).observations, ElementsAre(1, 4, 3, 6));
    opts.layout = "by_observation";
    const auto data = make_problem(three_columns(), opts);
    EXPECT_THAT(data.observations, ElementsAre(1, 3, 4, 6));
    EXPECT_THAT(data.dimensions, ElementsAre("a", "c"));
    EXPECT_THAT(data.weights, ElementsAre(2, 5));
    EXPECT_THAT(data.mask, ElementsAre(1, 0));
}

TEST(problem, columns_and_means_that_do_not_fit_are_refused) {
    using words = std::vector<std::string>;
    struct refusal {
        csv_table<double> table;
        words mask;
        std::optional<std::string> weights;
        std::optional<words> mean;
        const char* message;
    };
    const refusal cases[] = {
        {three_columns(), {"d"}, {}, {}, "--mask: 'd' is no column of f.csv"},
        {three_columns(), {}, "d", {}, "--weights: 'd' is no column of f.csv"},
        {{{"a", "a"}, 1, {1, 2}}, {"a"}, {}, {}, "--mask: 'a' names more than one column of f.csv"},
        {{{"a"}, 1, {1}}, {}, "a", {}, "--weights: 'a' is the only column of f.csv; no dimension is left"},
        {three_columns(), {}, {}, {{"1", "2"}}, "--mean: 2 values are given, but f.csv has 3 dimensions"},
        {three_columns(), {}, {}, {{"1", "x", "2"}}, "--mean: value 2: 'x' is not a number"},
        {three_columns(), {}, "a", {{"1", "2"}}, "no error"}, // weights are no dimension and take no mean
    };
    for (const auto& each : cases) {
        options opts;
        opts.files = {"f.csv"};
        opts.mask = each.mask;
        opts.weights = each.weights;
        opts.mean = each.mean;
        EXPECT_EQ(error_of([&] { make_problem(each.table, opts); }), each.message);
    }
}

} // namespace
} // namespace aurelo::qtx::describe
