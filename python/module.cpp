// The functions of the module: which call of the library each is, its parameters, its words.
#include <array>
#include <string>

#include <pybind11/pybind11.h>

#include "docstrings.hpp"
#include "errors.hpp"
#include "estimates.hpp"

namespace aurelo::qtx::python {

namespace {

using describe::call_name;

/// A function and what its docstring says.
struct function_words {
    const char* name;
    const char* parameters;
    const char* summary;
};

/// A function with one array as its result.
struct single_estimate {
    function_words words;
    call_name call;
};

/// A function with several arrays as its result, a named tuple; of those with orders, a caller can leave out the
/// higher ones.
struct tuple_estimate {
    function_words words;
    call_name call;
    const char* type_name;
    const char* fields;
    std::size_t n_fields;
    bool has_orders;
};

constexpr std::array<single_estimate, 6> single_estimates{{
    {{"min", "data mask device",
      "Smallest value of each dimension. NaN is passed over; the result is at most the largest finite "
      "value."},
     call_name::min},
    {{"max", "data mask device",
      "Largest value of each dimension. NaN is passed over; the result is at least the smallest finite "
      "value."},
     call_name::max},
    {{"mean", "data weights mask device method",
      "Mean of each dimension: sum of w * x, divided by the sum of w."},
     call_name::mean},
    {{"variation", "data weights mask mean device method",
      "Coefficient of variation of each dimension: square root of the variance (see central_moment), divided "
      "by the "
      "mean."},
     call_name::variation},
    {{"skewness", "data weights mask mean device method",
      "Skewness of each dimension: third central moment, divided by the variance to the power 3/2 (see "
      "central_moment)."},
     call_name::skewness},
    {{"kurtosis", "data weights mask mean device method",
      "Excess kurtosis of each dimension: fourth central moment, divided by the square of the variance (see "
      "central_moment), less 3."},
     call_name::kurtosis},
}};

constexpr std::array<tuple_estimate, 5> tuple_estimates{{
    {{"min_max", "data mask device",
      "Smallest and largest value of each dimension in one pass; see min and max."},
     call_name::min_max,
     "MinMax",
     "min max",
     2,
     false},
    {{"raw_sum", "data weights mask max_order device method",
      "Raw sums of each dimension: order k is the sum of w * x**k."},
     call_name::raw_sum,
     "RawSum",
     "sum raw_sum2 raw_sum3 raw_sum4",
     4,
     true},
    {{"raw_moment", "data weights mask max_order device method",
      "Raw moments of each dimension: the raw sum of order k, divided by the sum of w."},
     call_name::raw_moment,
     "RawMoment",
     "mean raw_moment2 raw_moment3 raw_moment4",
     4,
     true},
    {{"central_sum", "data weights mask mean max_order device method",
      "Central sums of each dimension: order k is the sum of w * (x - mean)**k.\n\nOn a GPU they are "
      "expanded from raw "
      "sums of one pass: where the mean is large against the spread,\na mean given by the caller keeps more "
      "digits."},
     call_name::central_sum,
     "CentralSum",
     "central_sum2 central_sum3 central_sum4",
     3,
     true},
    {{"central_moment", "data weights mask mean max_order device method",
      "Central moments of each dimension, from the central sums C of order 2 to 4.\n\nOrder 2 is C2 * W / "
      "(W**2 - W2), "
      "with W the sum of w and W2 that of w**2: without weights the\nvariance with denominator n - 1. Orders "
      "3 and 4 "
      "are C3 / W and C4 / W."},
     call_name::central_moment,
     "CentralMoment",
     "central_moment2 central_moment3 central_moment4",
     3,
     true},
}};

constexpr function_words describe_words{
    "describe", "data weights mask mean device method",
    "All estimates of each dimension.\n\nWith the method 'standard', those that do not exist for it on the "
    "device are "
    "left out. A mean is used\nfor central sums and moments, variation, skewness and kurtosis."};

/// Defines a function whose result \p compute makes of the checked keywords.
template <typename Compute>
void define(py::module_& module, const function_words& words, const std::string& returns, Compute compute) {
    const std::string doc = function_doc(words.name, words.parameters, words.summary, returns);
    module.def(
        words.name,
        [words, compute](const py::object& data, const py::kwargs& keywords) {
            return compute(take_arguments(words.name, words.parameters, data, keywords));
        },
        py::arg("data"), doc.c_str());
}

void define_single(py::module_& module, const single_estimate& estimated) {
    define(module, estimated.words, "array of the data's dtype, shape (dimensions,)",
           [call = estimated.call](const arguments& given) { return estimate(given, call, 1).front(); });
}

void define_tuple(py::module_& module, const tuple_estimate& estimated) {
    const py::object type =
        py::module_::import("collections")
            .attr("namedtuple")(estimated.type_name, estimated.fields, py::arg("module") = "qtx_stats");
    type.attr("__doc__") = std::string("Result of ") + estimated.words.name + "().";
    module.attr(estimated.type_name) = type;
    const std::string returns = std::string(estimated.type_name) +
                                ", a named tuple of arrays of the data's dtype, shape (dimensions,):\n    " +
                                estimated.fields;
    define(module, estimated.words, returns, [type, estimated](const arguments& given) {
        // Orders begin with 1 or 2, and end with 4.
        const std::size_t least = 5 - estimated.n_fields;
        const std::size_t n_outputs =
            estimated.has_orders ? checked_order(given, least) - least + 1 : estimated.n_fields;
        const result_arrays results = estimate(given, estimated.call, n_outputs);
        py::tuple fields(estimated.n_fields);
        for (std::size_t i = 0; i < estimated.n_fields; ++i) {
            fields[i] = results[i];
        }
        return type(*fields);
    });
}

} // namespace

} // namespace aurelo::qtx::python

PYBIND11_MODULE(qtx_stats, module) {
    using namespace aurelo::qtx::python;
    py::options options;
    options.disable_function_signatures();
    module.doc() = module_doc;
    define_errors(module);
    for (const single_estimate& each : single_estimates) {
        define_single(module, each);
    }
    for (const tuple_estimate& each : tuple_estimates) {
        define_tuple(module, each);
    }
    define(module, describe_words, "dict of name to array of the data's dtype, shape (dimensions,)",
           describe_all);
}
