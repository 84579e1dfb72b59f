/**
 * \file frame.hpp
 * \brief What every public estimate does before it hands over: check its outputs, then look at the device.
 */
#pragma once

#include <stats/dataset.hpp>
#include <stats/exception.hpp>
#include <stats/method.hpp>

#include <sycl/sycl.hpp>

#include <string>

namespace aurelo::qtx::stats::detail {

template <typename T>
bool is_absent(const sycl::buffer<T, 1>& array) {
    return array.size() == 0;
}
template <typename T>
bool is_absent(const T* array) {
    return array == nullptr;
}

/** \brief What is wrong with an absent array, in the words of its form. */
template <typename T>
std::string absence(const std::string& array, const sycl::buffer<T, 1>&) {
    return array + " array length is 0";
}
template <typename T>
std::string absence(const std::string& array, const T*) {
    return array + " is nullptr";
}

/** \brief Refuses an absent array; \p name is what messages call it. */
template <typename Array>
void check_present(const char* estimate, const char* name, const Array& array) {
    if (is_absent(array)) {
        throw invalid_argument("stats", estimate, absence(name, array));
    }
}

/** \brief What is wrong if all outputs of a kind are absent. */
template <typename T>
std::string absence_of_all(const std::string& kind, const sycl::buffer<T, 1>&) {
    return "all " + kind + " arrays length is 0";
}
template <typename T>
std::string absence_of_all(const std::string& kind, const T*) {
    return "all " + kind + " are nullptr";
}

/**
 * \brief Refuses outputs that are all absent, then an absent first one, which is always computed.
 * \param kind what messages call the outputs together
 * \param name what messages call the first one
 */
template <typename Array, typename... Arrays>
void check_outputs(const char* estimate, const char* kind, const char* name, const Array& first,
                   const Arrays&... others) {
    if (is_absent(first) && (is_absent(others) && ...)) {
        throw invalid_argument("stats", estimate, absence_of_all(kind, first));
    }
    check_present(estimate, name, first);
}

/** \brief Where an estimate is computed. */
enum class road { host, device };

/**
 * \brief The road of the queue's device: a CPU device goes the host's, a GPU device the device's.
 * \throws unsupported_device for any other
 */
road road_of(const sycl::queue& queue, const char* estimate);

/** \brief Refuses a method that has no device code: \throws unimplemented */
[[noreturn]] void refuse_method(const char* estimate);

} // namespace aurelo::qtx::stats::detail

/** \brief Instantiates the forms that \p FORMS(T, L) lists for both element types and both layouts. */
#define QTX_INSTANTIATE_ESTIMATE(FORMS)                                                                      \
    FORMS(float, layout::by_dimension)                                                                       \
    FORMS(float, layout::by_observation)                                                                     \
    FORMS(double, layout::by_dimension)                                                                      \
    FORMS(double, layout::by_observation)
