#include "arguments.hpp"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace aurelo::qtx::python {

namespace {

std::string text(const py::handle& object) {
    return py::str(object);
}

std::string type_of(const py::handle& object) {
    return text(py::type::handle_of(object).attr("__name__"));
}

[[noreturn]] void refuse_type(std::string_view argument, std::string_view wanted, std::string_view given) {
    throw py::type_error(fmt::format("{}: {} is wanted, {} is given", argument, wanted, given));
}

[[noreturn]] void refuse_value(std::string_view argument, std::string_view wanted, std::string_view given) {
    throw py::value_error(fmt::format("{}: {} is wanted, {} is given", argument, wanted, given));
}

/// The name of an array's type; it says if the bytes are in the other order.
std::string dtype_of(const py::array& array) {
    const std::string name = text(array.dtype().attr("name"));
    return array.dtype().attr("isnative").cast<bool>() ? name : name + " of foreign byte order";
}

/// Masks of elements mean something else than the mask of dimensions, and would be passed over in silence.
py::array array_of(const py::object& object, std::string_view argument) {
    const py::object masked = py::module_::import("numpy.ma").attr("MaskedArray");
    if (!py::isinstance<py::array>(object) || py::isinstance(object, masked)) {
        refuse_type(argument, "a plain NumPy array", type_of(object));
    }
    return py::reinterpret_borrow<py::array>(object);
}

template <typename T>
bool holds(const py::array& array) {
    return py::isinstance<py::array_t<T, 0>>(array);
}

bool lies_plainly(const py::array& array) {
    return (array.flags() & (py::array::c_style | py::array::f_style)) != 0 &&
           array.attr("flags").attr("aligned").cast<bool>();
}

void check_placement(const py::array& array, std::string_view argument) {
    if (!lies_plainly(array)) {
        refuse_value(argument,
                     "an aligned array without gaps, in C or Fortran order (numpy.ascontiguousarray copies)",
                     fmt::format("an array of shape {} and strides {}", text(array.attr("shape")),
                                 text(array.attr("strides"))));
    }
}

py::array checked_data(const py::object& object) {
    py::array data = array_of(object, "data");
    if (data.ndim() < 1 || data.ndim() > 2 || data.size() == 0) {
        refuse_value("data",
                     "an array of one or two dimensions with at least one element (a row is an observation)",
                     "shape " + text(data.attr("shape")));
    }
    check_placement(data, "data");
    return data;
}

template <typename T>
constexpr const char* dtype_name = sizeof(T) == sizeof(float) ? "float32" : "float64";

/// An array of one value per observation, or per dimension; or null for None.
template <typename T>
const T* checked_vector(const py::object& object, std::string_view argument, std::size_t size,
                        std::string_view items) {
    if (object.is_none()) {
        return nullptr;
    }
    const py::array array = array_of(object, argument);
    if (!holds<T>(array)) {
        refuse_type(argument, fmt::format("{}, as in data,", dtype_name<T>), dtype_of(array));
    }
    if (array.ndim() != 1 || static_cast<std::size_t>(array.size()) != size) {
        refuse_value(argument, fmt::format("shape ({},), one value per {},", size, items),
                     "shape " + text(array.attr("shape")));
    }
    check_placement(array, argument);
    return static_cast<const T*>(array.data());
}

std::vector<std::int64_t> checked_mask(const py::object& object, std::size_t n_dims) {
    if (object.is_none()) {
        return {};
    }
    const py::array array = array_of(object, "mask");
    const char kind = array.dtype().kind();
    if (kind != 'b' && kind != 'i' && kind != 'u') {
        refuse_type("mask", "bool or integers 0 and 1", dtype_of(array));
    }
    if (array.ndim() != 1 || static_cast<std::size_t>(array.size()) != n_dims) {
        refuse_value("mask", fmt::format("shape ({},), one value per dimension,", n_dims),
                     "shape " + text(array.attr("shape")));
    }
    std::vector<std::int64_t> mask;
    for (const py::handle value : array) {
        const py::int_ number(py::reinterpret_borrow<py::object>(value));
        if (!number.equal(py::int_(0)) && !number.equal(py::int_(1))) {
            refuse_value("mask", "0 or 1", fmt::format("{} at {}", text(number), mask.size()));
        }
        mask.push_back(number.equal(py::int_(1)) ? 1 : 0);
    }
    return mask;
}

std::string checked_word(const py::object& object, std::string_view argument,
                         const std::vector<std::string_view>& words) {
    const std::string wanted = fmt::format("one of '{}'", fmt::join(words, "', '"));
    if (!py::isinstance<py::str>(object)) {
        refuse_type(argument, wanted, type_of(object));
    }
    auto word = object.cast<std::string>();
    if (std::find(words.begin(), words.end(), word) == words.end()) {
        refuse_value(argument, wanted, text(py::repr(object)));
    }
    return word;
}

bool is_word_of(std::string_view list, std::string_view word) {
    return fmt::format(" {} ", list).find(fmt::format(" {} ", word)) != std::string::npos;
}

} // namespace

arguments take_arguments(std::string_view function, std::string_view parameters, const py::object& data,
                         const py::kwargs& keywords) {
    for (const auto& [key, value] : keywords) {
        if (!is_word_of(parameters, text(key))) {
            throw py::type_error(
                fmt::format("{}: there is no parameter '{}', it takes {}", function, text(key), parameters));
        }
    }
    const auto value_of = [&](const char* name, py::object otherwise) {
        return keywords.contains(name) ? py::object(keywords[name]) : std::move(otherwise);
    };
    const py::none none;
    return {data,
            value_of("weights", none),
            value_of("mask", none),
            value_of("mean", none),
            value_of("max_order", py::int_(4)),
            value_of("device", py::str("cpu")),
            value_of("method", py::str("fast"))};
}

bool holds_float32(const arguments& given) {
    const py::array data = array_of(given.data, "data");
    if (!holds<float>(data) && !holds<double>(data)) {
        refuse_type("data", "float32 or float64", dtype_of(data));
    }
    return holds<float>(data);
}

template <typename T>
checked_arrays<T>::checked_arrays(const arguments& given)
    : observations_(checked_data(given.data)), weights_(given.weights), mean_(given.mean) {
    matrix_.n_observations = static_cast<std::size_t>(observations_.shape(0));
    matrix_.n_dims = observations_.ndim() == 2 ? static_cast<std::size_t>(observations_.shape(1)) : 1;
    // One column is in both orders; as one contiguous dimension it is reduced fastest.
    matrix_.by_observation = (observations_.flags() & py::array::f_style) == 0;
    matrix_.observations = static_cast<const T*>(observations_.data());
    matrix_.weights = checked_vector<T>(weights_, "weights", matrix_.n_observations, "observation");
    matrix_.mean = checked_vector<T>(mean_, "mean", matrix_.n_dims, "dimension");
    mask_ = checked_mask(given.mask, matrix_.n_dims);
    matrix_.mask = mask_.empty() ? nullptr : mask_.data();
}

template class checked_arrays<float>;
template class checked_arrays<double>;

bool wants_standard_method(const arguments& given) {
    const bool standard = checked_word(given.method, "method", {"fast", "standard"}) == "standard";
    if (standard && !given.mean.is_none()) {
        refuse_value("method", "'fast', which alone takes a mean,", "'standard'");
    }
    return standard;
}

std::string device_word(const arguments& given) {
    return checked_word(given.device, "device", {"cpu", "gpu", "opencl", "accelerator"});
}

std::size_t checked_order(const arguments& given, std::size_t least) {
    const py::object& order = given.max_order;
    const std::string wanted = fmt::format("an integer from {} to 4", least);
    if (!py::isinstance<py::int_>(order) || py::isinstance<py::bool_>(order)) {
        refuse_type("max_order", wanted, type_of(order));
    }
    const py::int_ lowest(least);
    if (order < lowest || order > py::int_(4)) {
        refuse_value("max_order", wanted, text(order));
    }
    return order.cast<std::size_t>();
}

} // namespace aurelo::qtx::python
