#pragma once

#include <sycl/detail/export.hpp>

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

namespace sycl {

class context;

enum class errc {
    success = 0,
    runtime,
    kernel,
    accessor,
    nd_range,
    event,
    kernel_argument,
    build,
    invalid,
    memory_allocation,
    platform,
    profiling,
    feature_not_supported,
    kernel_not_supported,
    backend_mismatch
};

SYCL_EXPORT const std::error_category& sycl_category() noexcept;
SYCL_EXPORT std::error_code make_error_code(errc code) noexcept;

/// What the runtime throws, and what it hands to asynchronous handlers.
class SYCL_EXPORT exception : public std::exception {
public:
    explicit exception(std::error_code code);
    exception(std::error_code code, const std::string& what);
    exception(std::error_code code, const char* what);
    exception(const context& where, std::error_code code, const std::string& what);
    exception(const exception&) = default;
    exception& operator=(const exception&) = default;
    ~exception() override;

    const std::error_code& code() const noexcept { return code_; }
    const std::error_category& category() const noexcept { return code_.category(); }
    const char* what() const noexcept override;
    bool has_context() const noexcept { return context_ != nullptr; }
    /// The context of the failure; throws errc::invalid if there is none.
    context get_context() const;

private:
    std::error_code code_;
    std::shared_ptr<const std::string> what_;
    std::shared_ptr<const context> context_;
};

/// The asynchronous errors that one call of a handler reports, oldest first.
class exception_list {
public:
    using value_type = std::exception_ptr;
    using reference = value_type&;
    using const_reference = const value_type&;
    using size_type = std::size_t;
    using iterator = std::vector<std::exception_ptr>::const_iterator;
    using const_iterator = iterator;

    exception_list() = default;
    explicit exception_list(std::vector<std::exception_ptr> errors) : errors_(std::move(errors)) {}

    size_type size() const { return errors_.size(); }
    iterator begin() const { return errors_.begin(); }
    iterator end() const { return errors_.end(); }

private:
    std::vector<std::exception_ptr> errors_;
};

using async_handler = std::function<void(exception_list)>;

} // namespace sycl

template <>
struct std::is_error_code_enum<sycl::errc> : std::true_type {};
