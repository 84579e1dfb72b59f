/**
 * \file estimates.hpp
 * \brief From a checked call to new NumPy arrays.
 */
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "arguments.hpp"
#include "estimate_list.hpp"

namespace aurelo::qtx::python {

/** \brief New arrays, one for each output of a call; None for an output that is absent. */
using result_arrays = std::array<py::object, 4>;

/**
 * \brief The outputs of one call of the library.
 * \param n_outputs outputs wanted, from the first
 */
result_arrays estimate(const arguments& given, describe::call_name call, std::size_t n_outputs);

/** \brief Every estimate that the method and the device have, by its name. */
py::dict describe_all(const arguments& given);

} // namespace aurelo::qtx::python
