// JSON that reads back exactly, and tables that fit a terminal.

#include <limits>
#include <random>
#include <sstream>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "number.hpp"
#include "report.hpp"

namespace aurelo::qtx::describe {
namespace {

template <typename T>
struct sample {
    options opts;
    problem<T> data;
    device_facts device{"Device", false, 4};
    std::vector<computed<T>> estimates;

    explicit sample(std::vector<T> values) {
        opts.files = {"f.csv"};
        for (std::size_t d = 0; d < values.size(); ++d) {
            data.dimensions.push_back(fmt::format("c{}", d));
        }
        data.n_observations = 17;
        estimates.push_back({&all_estimates[0], std::move(values)});
    }
    report<T> shown() const { return {opts, data, device, estimates}; }
};

template <typename T>
class round_trip : public testing::Test {};
using element_types = testing::Types<float, double>;
TYPED_TEST_SUITE(round_trip, element_types);

/// Values of every exponent, from their bits.
template <typename T>
std::vector<T> values_of_all_kinds(unsigned seed) {
    using limits = std::numeric_limits<T>;
    std::vector<T> values{T(0),
                          -T(0),
                          T(0.1),
                          T(1) / 3,
                          limits::max(),
                          limits::lowest(),
                          limits::min(),
                          limits::denorm_min(),
                          limits::epsilon(),
                          T(123456789)};
    std::mt19937_64 engine(seed);
    std::uniform_int_distribution<int> exponent(limits::min_exponent, limits::max_exponent - 1);
    std::uniform_real_distribution<T> mantissa(-1, 1);
    for (int i = 0; i < 2000; ++i) {
        values.push_back(std::ldexp(mantissa(engine), exponent(engine)));
    }
    return values;
}

TYPED_TEST(round_trip, json_numbers_read_back_to_the_same_bits) {
    constexpr unsigned seed = 20;
    const auto values = values_of_all_kinds<TypeParam>(seed);
    const std::string text = to_json(sample<TypeParam>(values).shown());
    std::istringstream list(text.substr(text.find("\"min\":[") + 7));
    for (const TypeParam expected : values) {
        std::string word;
        std::getline(list, word, ',');
        word = word.substr(0, word.find(']'));
        TypeParam value{};
        ASSERT_EQ(parse_number(word, value), number_fault::none) << word;
        EXPECT_EQ(value, expected) << word << ", seed " << seed;
        EXPECT_EQ(std::signbit(value), std::signbit(expected)) << word;
        EXPECT_LE(word.size(), std::numeric_limits<TypeParam>::max_digits10 + 8U) << word;
    }
}

TEST(json, a_name_that_is_no_text_does_not_break_the_object) {
    sample<double> s({1});
    s.data.dimensions[0] = "caf\xE9 \"x\"";
    EXPECT_EQ(nlohmann::json::parse(to_json(s.shown()))["columns"][0], "caf\xEF\xBF\xBD \"x\"");
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(table, all_estimates_of_seven_columns_fit_a_terminal) {
    sample<double> s({0});
    s.data.dimensions = {"carat", "depth", "table", "price", "x", "y", "longer_name"};
    s.estimates.clear();
    for (const estimate& e : all_estimates) {
        s.estimates.push_back({&e, {-1.23456789e100, 2, 0.001, 1e-9, 12345.678, 1e22, 3}});
    }
    const std::string text = to_table(s.shown(), false);
    for (const std::string& line : lines_of(text)) {
        EXPECT_LE(line.size(), 100U) << line;
    }
    for (const estimate& e : all_estimates) {
        EXPECT_THAT(text, testing::HasSubstr(std::string(e.name))) << e.name;
    }
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("\x1b")));
    EXPECT_THAT(to_table(s.shown(), true), testing::HasSubstr("\x1b[1m"));
}

TEST(table, points_stand_below_each_other_and_masked_columns_show_a_dash) {
    sample<double> s({1.5, 22.25, 333, 4});
    s.data.dimensions[1] = "na\xC3\xAFve";
    s.data.mask = {1, 1, 1, 0};
    EXPECT_EQ(to_table(s.shown(), false),
              "f.csv: 17 rows, 4 columns\n"
              "Device\n"
              "gpu path, double, by_dimension, usm, fast; work-group limit 4, 3 passes\n"
              "\n"
              "          min\n"
              "c0       1.5\n"
              "na\xC3\xAFve   22.25\n"
              "c2     333\n"
              "c3       -\n");
}

TEST(table, passes_shorten_the_row_by_the_work_group_limit) {
    EXPECT_EQ(launch_passes(1024, 1024), 1U);
    EXPECT_EQ(launch_passes(1025, 1024), 2U);
    EXPECT_EQ(launch_passes(1024 * 1024, 1024), 2U);
    EXPECT_EQ(launch_passes(5'000'000, 1024), 3U);
    EXPECT_EQ(launch_passes(17, 2), 5U);
    EXPECT_EQ(launch_passes(1, 1), 1U);
}

} // namespace
} // namespace aurelo::qtx::describe
