#include "errors.hpp"

#include <exception>
#include <string>
#include <utility>

#include <stats/exception.hpp>

namespace aurelo::qtx::python {

namespace py = pybind11;

namespace {

/// The Python class for a C++ class. It lives as long as the interpreter.
template <typename Exception>
py::handle python_class;

/// Sets the Python error if the exception in flight is an \p Exception.
template <typename Exception>
bool translate() {
    try {
        throw;
    } catch (const Exception& error) {
        PyErr_SetString(python_class<Exception>.ptr(), error.what());
        return true;
    } catch (...) {
        return false;
    }
}

template <typename... Exceptions>
void translate_first_of(std::exception_ptr in_flight) {
    try {
        std::rethrow_exception(std::move(in_flight));
    } catch (...) {
        if ((translate<Exceptions>() || ...)) {
            return;
        }
        throw;
    }
}

py::handle define(py::module_& module, const char* name, const char* doc, py::tuple bases) {
    const std::string full_name = "qtx_stats." + std::string(name);
    PyObject* const made = PyErr_NewExceptionWithDoc(full_name.c_str(), doc, bases.ptr(), nullptr);
    if (made == nullptr) {
        throw py::error_already_set();
    }
    module.attr(name) = py::handle(made);
    return made;
}

} // namespace

void define_errors(py::module_& module) {
    const py::handle base = define(module, "Error", "Base of the module's exceptions.",
                                   py::make_tuple(py::handle(PyExc_Exception)));
    const auto derived = [&](const char* name, const char* doc, PyObject* kind) {
        return define(module, name, doc, py::make_tuple(base, py::handle(kind)));
    };
    python_class<no_device> =
        derived("NoDevice", "The machine has no device of the kind asked for.", PyExc_LookupError);
    python_class<invalid_argument> = derived(
        "InvalidArgument", "The library refuses an argument, which the message names.", PyExc_ValueError);
    python_class<unsupported_device> =
        derived("UnsupportedDevice", "The device is neither a CPU nor a GPU.", PyExc_RuntimeError);
    python_class<unimplemented> =
        derived("Unimplemented", "The method does not exist on the device.", PyExc_NotImplementedError);
    python_class<device_bad_alloc> =
        derived("DeviceBadAlloc", "The device has no memory for intermediate results.", PyExc_MemoryError);
    python_class<computation_error> =
        derived("ComputationError", "A computation on a CPU device failed.", PyExc_RuntimeError);
    python_class<sycl::exception> =
        derived("DeviceError", "The device's runtime refused or failed a command; the message says why.",
                PyExc_RuntimeError);
    py::register_local_exception_translator(
        translate_first_of<no_device, invalid_argument, unsupported_device, unimplemented, device_bad_alloc,
                           computation_error, sycl::exception>);
}

} // namespace aurelo::qtx::python
