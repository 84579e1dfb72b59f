/**
 * \file errors.hpp
 * \brief The module's exceptions, and how errors of the library and of the runtime become them.
 */
#pragma once

#include <stdexcept>

#include <pybind11/pybind11.h>

namespace aurelo::qtx::python {

/** \brief A word for a device of which the machine has none. */
class no_device : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** \brief Adds the exceptions to \p module and translates to them from now on. */
void define_errors(pybind11::module_& module);

} // namespace aurelo::qtx::python
