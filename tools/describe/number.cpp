#include "number.hpp"

#include <cmath>
#include <system_error>

#include <fast_float/fast_float.h>

#include "text.hpp"

namespace aurelo::qtx::describe {

namespace {

/// Drops the plus sign that people write and that the number reader does not take.
std::string_view without_plus(std::string_view text) {
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
    return plus ? text.substr(1) : text;
}

bool names_infinity(std::string_view text) {
    return text.find_first_of("iI") != std::string_view::npos;
}

} // namespace

template <typename T>
number_fault parse_number(std::string_view text, T& value) {
    const std::string_view digits = without_plus(trimmed(text));
    if (digits.empty()) {
        return number_fault::empty;
    }
    T parsed{};
    const char* const end = digits.data() + digits.size();
    const auto result = fast_float::from_chars(digits.data(), end, parsed);
    if (result.ec == std::errc::result_out_of_range) {
        return number_fault::out_of_range;
    }
    if (result.ec != std::errc{} || result.ptr != end) {
        return number_fault::malformed;
    }
    if (std::isinf(parsed) && !names_infinity(digits)) {
        return number_fault::out_of_range;
    }
    value = parsed;
    return number_fault::none;
}

std::string_view describe_fault(number_fault fault) {
    switch (fault) {
    case number_fault::empty:
        return "is empty where a number is expected";
    case number_fault::out_of_range:
        return "is out of the range of the element type";
    case number_fault::malformed:
        return "is not a number";
    case number_fault::none:
        break;
    }
    return "is a number";
}

template number_fault parse_number(std::string_view, float&);
template number_fault parse_number(std::string_view, double&);

} // namespace aurelo::qtx::describe
