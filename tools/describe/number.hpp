#pragma once

#include <string_view>

namespace aurelo::qtx::describe {

/// Why a text is no number of the wanted type.
enum class number_fault { none, empty, malformed, out_of_range };

/// Reads \p text, spaces around it allowed, as a number of type \p T, correctly rounded from the decimal
/// digits.
///
/// "nan" and "inf" in any case are numbers; digits that would round to an infinity are out of range. On a
/// fault \p value keeps what it held.
template <typename T>
number_fault parse_number(std::string_view text, T& value);

/// The end of a sentence that begins with the text: "is not a number" and the like.
std::string_view describe_fault(number_fault fault);

extern template number_fault parse_number(std::string_view, float&);
extern template number_fault parse_number(std::string_view, double&);

} // namespace aurelo::qtx::describe
