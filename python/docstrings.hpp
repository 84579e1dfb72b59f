/**
 * \file docstrings.hpp
 * \brief The docstrings of the module, composed of what its functions have in common and what is their own.
 */
#pragma once

#include <string>
#include <string_view>

namespace aurelo::qtx::python {

/** \brief Docstring of the module. */
extern const char* const module_doc;

/**
 * \brief Docstring of a function, with the signature in the form that inspect reads.
 * \param parameters names of its parameters, separated by spaces, in order; the first is positional
 * \param summary what it computes, with the formula
 * \param returns what it returns
 */
std::string function_doc(std::string_view name, std::string_view parameters, std::string_view summary,
                         std::string_view returns);

} // namespace aurelo::qtx::python
