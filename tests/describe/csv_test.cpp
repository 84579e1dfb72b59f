// Reading of CSV texts: what is accepted, and where each fault is reported.

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "csv_rows.hpp"
#include "csv_table.hpp"
#include "errors.hpp"

namespace aurelo::qtx::describe {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

template <typename T = double>
csv_table<T> read(const std::string& text) {
    std::istringstream stream(text);
    return read_csv_table<T>(stream, "data.csv");
}

std::string error_of(const std::string& text) {
    try {
        read(text);
    } catch (const input_error& error) {
        return error.what();
    }
    return "no error";
}

TEST(csv, line_ends_byte_order_mark_and_spaces_do_not_matter) {
    const std::string plain = "a,b\n1,2\n3,4\n";
    for (const std::string& text :
         {plain, std::string("a,b\r\n1,2\r\n3,4\r\n"), std::string("a,b\n1,2\n3,4"),
          std::string("a,b\r\n1,2\r\n3,4"), std::string("a,b\r1,2\r3,4\r"),
          std::string("\xEF\xBB\xBF") + plain, std::string(" a ,\tb\n 1 , 2\t\n\n3,  4\n\n"),
          std::string("\"a\",\"b\"\n\"1\",\" 2 \"\n+3,4e0\n")}) {
        SCOPED_TRACE(testing::PrintToString(text));
        const auto table = read(text);
        EXPECT_THAT(table.columns, ElementsAre("a", "b"));
        EXPECT_EQ(table.n_rows, 2U);
        EXPECT_THAT(table.values, ElementsAre(1, 2, 3, 4));
    }
}

TEST(csv, quoted_names_hold_commas_quotes_and_line_ends) {
    const auto table = read("\"price, net\",\"say \"\"x\"\"\",\"two\nlines\"\n1,2,3\n");
    EXPECT_THAT(table.columns, ElementsAre("price, net", "say \"x\"", "two\nlines"));
    EXPECT_THAT(split_csv_line("plain,\"price, net\"", "--mask"), ElementsAre("plain", "price, net"));
}

TEST(csv, numbers_round_once_and_in_the_element_type) {
    // Just above the middle of two floats; through a double it would fall on the middle and then round down.
    EXPECT_EQ(read<float>("a\n1.00000005960464485\n").values[0], 1.00000012F);
    EXPECT_EQ(read("a\n0.1\n").values[0], 0.1);
    EXPECT_EQ(read("a\n1e-400\n").values[0], 0.0);
    EXPECT_TRUE(std::isnan(read("a\nNaN\n").values[0]));
    EXPECT_EQ(read("a\n-inf\n").values[0], -std::numeric_limits<double>::infinity());
}

TEST(csv, faults_name_file_line_and_column) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "data.csv: line 1, column 1: the file is empty"},
        {"a,b\n", "data.csv: line 2, column 1: no rows"},
        {"a,b\n1,2\n3\n", "data.csv: line 3, column 2: the row has 1 cell, but the header names 2 columns"},
        {"a,b\n\n1,2,3\n", "data.csv: line 3, column 3: the row has 3 cells"},
        {"a,b\n1,two\n", "data.csv: line 2, column 2: 'two' is not a number in column 'b'"},
        {"a,b\r\n1,2\r\n1,2x\r\n", "data.csv: line 3, column 2: '2x'"},
        {"a,b\r1,2\r1,2x\r", "data.csv: line 3, column 2: '2x'"},
        {"\"a\n\",b\n1,2\nx,2\n", "data.csv: line 4, column 1: 'x'"},
        {"a,b\n1,\n", "data.csv: line 2, column 2: '' is empty"},
        {"a,b\n1,1e999\n", "'1e999' is out of the range"},
        {"a,b\n1,0x10\n", "'0x10' is not a number"},
        {"a,b\n1,--2\n", "'--2' is not a number"},
        {"a,b\n1,+-2\n", "'+-2' is not a number"},
        {"a,b\n1,\"2\n", "data.csv: line 2, column 2: a quote is opened and never closed"},
        {"a,b\n1,2\"3\"\n", "data.csv: line 2, column 2: a quote stands where none may be"},
    };
    for (const auto& [text, message] : cases) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_THAT(error_of(text), HasSubstr(message));
    }
}

TEST(csv, long_cells_are_cut_in_messages) {
    const std::string message = error_of("a\n" + std::string(1000, 'x') + "\n");
    EXPECT_LT(message.size(), 120U);
    EXPECT_THAT(message, HasSubstr("xxx...'"));
}

} // namespace
} // namespace aurelo::qtx::describe
