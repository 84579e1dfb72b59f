/**
 * \file arguments.hpp
 * \brief From the objects that a Python call is given to arrays that can be computed with, checked.
 *
 * Everything here needs the interpreter's lock.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "compute.hpp"

namespace aurelo::qtx::python {

namespace py = pybind11;

/** \brief What a call says, unchecked. None stands for what is not given. */
struct arguments {
    py::object data;
    py::object weights;
    py::object mask;
    py::object mean;
    py::object max_order;
    py::object device;
    py::object method;
};

/**
 * \brief Takes a call's keywords apart, with defaults for those not given.
 * \param function name of the function, for messages
 * \param parameters names of its parameters, separated by spaces
 * \throws TypeError for a keyword that is none of them
 */
arguments take_arguments(std::string_view function, std::string_view parameters, const py::object& data,
                         const py::kwargs& keywords);

/** \brief Whether the data are float32; \throws TypeError if they are neither float32 nor float64. */
bool holds_float32(const arguments& given);

/**
 * \brief The arrays of a call with data of T, which it keeps alive and does not copy, except for the mask.
 * \throws TypeError, ValueError naming the argument, what is wanted and what was given
 */
template <typename T>
class checked_arrays {
public:
    explicit checked_arrays(const arguments& given);
    checked_arrays(const checked_arrays&) = delete;
    checked_arrays& operator=(const checked_arrays&) = delete;

    /** \brief Their memory; valid for the life of this object. */
    const matrix<T>& get() const { return matrix_; }

private:
    py::array observations_;
    py::object weights_;
    py::object mean_;
    std::vector<std::int64_t> mask_;
    matrix<T> matrix_;
};

/** \brief Whether the standard method is asked for; \throws as for checked_arrays, and if a mean is given too */
bool wants_standard_method(const arguments& given);

/** \brief The word for a device. */
std::string device_word(const arguments& given);

/** \brief The highest order wanted, from \p least to 4; \throws TypeError, ValueError */
std::size_t checked_order(const arguments& given, std::size_t least);

} // namespace aurelo::qtx::python
