/**
 * \file exception.hpp
 * \brief What the library throws.
 *
 * Every class takes a domain word and a function word, so that a message reads
 * "aurelo::qtx::stats::max: invalid argument: max array length is 0". Exceptions of the SYCL runtime pass
 * through the library unchanged.
 */
#pragma once

#include <stats/export.hpp>

#include <sycl/sycl.hpp>

#include <exception>
#include <string>

namespace aurelo::qtx {

/** \brief Base of all exceptions of the library. */
class QTX_STATS_EXPORT exception : public std::exception {
public:
    /**
     * \brief Composes "aurelo::qtx::DOMAIN::FUNCTION: INFO"; empty parts are left out together with their
     * separator.
     */
    exception(const std::string& domain, const std::string& function, const std::string& info);
    exception(const exception&) = default;
    exception& operator=(const exception&) = default;
    ~exception() override;

    /** \brief The message; valid for the life of the object. */
    const char* what() const noexcept override;

private:
    std::string message_;
};

/** \brief An argument of a call cannot be used; the detail names it. */
class QTX_STATS_EXPORT invalid_argument : public exception {
public:
    /** \brief Composes the message from its parts, see exception. */
    invalid_argument(const std::string& domain, const std::string& function, const std::string& detail);
    invalid_argument(const invalid_argument&) = default;
    invalid_argument& operator=(const invalid_argument&) = default;
    ~invalid_argument() override;
};

/** \brief The queue's device is neither a CPU nor a GPU; the message names it. */
class QTX_STATS_EXPORT unsupported_device : public exception {
public:
    /** \brief Composes the message from its parts, see exception, and the name of \p device. */
    unsupported_device(const std::string& domain, const std::string& function, const sycl::device& device);
    unsupported_device(const unsupported_device&) = default;
    unsupported_device& operator=(const unsupported_device&) = default;
    ~unsupported_device() override;
};

/** \brief A computation on a CPU device failed. Delivered through the queue's asynchronous handler. */
class QTX_STATS_EXPORT computation_error : public exception {
public:
    /** \brief Composes the message from its parts, see exception. */
    computation_error(const std::string& domain, const std::string& function, const std::string& detail);
    computation_error(const computation_error&) = default;
    computation_error& operator=(const computation_error&) = default;
    ~computation_error() override;
};

/** \brief The combination of method and device does not exist. */
class QTX_STATS_EXPORT unimplemented : public exception {
public:
    /** \brief Composes the message from its parts, see exception. */
    unimplemented(const std::string& domain, const std::string& function, const std::string& detail);
    unimplemented(const unimplemented&) = default;
    unimplemented& operator=(const unimplemented&) = default;
    ~unimplemented() override;
};

/** \brief Scratch memory for a call could not be allocated; the message names the device. */
class QTX_STATS_EXPORT device_bad_alloc : public exception {
public:
    /** \brief Composes the message from its parts, see exception, and the name of \p device. */
    device_bad_alloc(const std::string& domain, const std::string& function, const sycl::device& device);
    device_bad_alloc(const device_bad_alloc&) = default;
    device_bad_alloc& operator=(const device_bad_alloc&) = default;
    ~device_bad_alloc() override;
};

} // namespace aurelo::qtx
