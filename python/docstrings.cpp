#include "docstrings.hpp"

#include <algorithm>
#include <array>
#include <sstream>

#include <fmt/format.h>

namespace aurelo::qtx::python {

const char* const module_doc = R"(Summary statistics of the columns of NumPy arrays, on CPU and GPU devices.

A dataset is an array of float32 or float64 with one row per observation and one column per dimension, in C or in
Fortran order; an array of one axis is one dimension. Each function returns new arrays of the data's dtype and of shape
(dimensions,).

Nothing is copied on the way to a CPU device: it reads the array where it is. Any other device has memory of its own,
to which its driver transfers the data for each call; describe() does so once for all estimates. Arrays that would have
to be copied to be usable (gaps between elements, another dtype) are refused. Inputs are never written and may be
read-only, as a memory map.

The interpreter's lock is released while a function computes, and several threads may call at once, also with the same
arrays; none of these may be written meanwhile. A call ends when its results are complete; it cannot be interrupted.
The threads of the devices do not survive a fork: processes of multiprocessing have to be spawned.

Exceptions of the library and the devices are subclasses of Error; arguments that cannot be used raise TypeError or
ValueError with a message that names the argument, what is wanted, and what is given.
)";

namespace {

struct parameter {
    std::string_view name;
    std::string_view default_value;
    std::string_view doc;
};

constexpr std::array<parameter, 7> all_parameters{{
    {"data", "", R"(array of float32 or float64, shape (observations, dimensions) or (observations,)
    C or Fortran order, without gaps, at least one element. It is not copied.)"},
    {"weights", "None", R"(array of the data's dtype, shape (observations,), optional
    A weight that is not above 0 (also NaN) counts as 1.)"},
    {"mask", "None", R"(array of bool, or of integers 0 and 1, shape (dimensions,), optional
    False leaves a dimension out: its results are NaN.)"},
    {"mean", "None", R"(array of the data's dtype, shape (dimensions,), optional
    Values to be used in place of the computed means. They exist for the method 'fast'.)"},
    {"max_order", "4", R"(int, optional
    The highest order to compute; results of higher orders are None.)"},
    {"device", "'cpu'", R"('cpu', 'gpu', 'opencl' or 'accelerator', optional
    The best device of the type; 'opencl' is an OpenCL device, a GPU rather than another. A GPU computes in the
    data's dtype, a CPU in float64.)"},
    {"method", "'fast'", R"('fast' or 'standard', optional
    'standard' changes the computation of central_sum and central_moment only, and has these on CPU devices only.)"},
}};

const parameter& find_parameter(std::string_view name) {
    return *std::find_if(all_parameters.begin(), all_parameters.end(),
                         [&](const parameter& each) { return each.name == name; });
}

constexpr std::string_view raises = R"(Raises
------
TypeError, ValueError
    An argument cannot be used; the message names it, what is wanted, and what is given.
NoDevice
    The machine has no device of the kind.
UnsupportedDevice
    The device is neither a CPU nor a GPU.
Error
    Any other failure of the library or the device, see the module's exceptions.
)";

} // namespace

std::string function_doc(std::string_view name, std::string_view parameters, std::string_view summary,
                         std::string_view returns) {
    std::string signature;
    std::string list;
    std::istringstream names{std::string(parameters)};
    for (std::string each; names >> each;) {
        const parameter& found = find_parameter(each);
        signature += found.default_value.empty() ? fmt::format("{}, *", each)
                                                 : fmt::format(", {}={}", each, found.default_value);
        list += fmt::format("{} : {}\n", each, found.doc);
    }
    return fmt::format("{}({})\n--\n\n{}\n\nParameters\n----------\n{}\nReturns\n-------\n{}\n\n{}", name,
                       signature, summary, list, returns, raises);
}

} // namespace aurelo::qtx::python
