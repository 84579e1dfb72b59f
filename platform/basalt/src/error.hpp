// Failures inside the driver are exceptions of one class; the C entry points turn them into result codes.
#pragma once

#include <basalt/basalt.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

namespace basalt {

class error : public std::runtime_error {
public:
    error(bs_result_t status, const std::string& message) : std::runtime_error(message), status_(status) {}
    bs_result_t status() const noexcept { return status_; }

private:
    bs_result_t status_;
};

/// Why a piece of work failed; kept until somebody asks.
struct failure {
    bs_result_t status = BS_SUCCESS;
    std::string message;
    explicit operator bool() const noexcept { return status != BS_SUCCESS; }
};

[[noreturn]] void throw_invalid(const std::string& message);

/// The exception being handled, as a failure. Called in a catch block only.
failure current_failure() noexcept;

void set_last_error(const char* message) noexcept;
const char* last_error() noexcept;

template <typename Pointer>
void require(Pointer argument, const char* name) {
    if (argument == nullptr) {
        throw_invalid(std::string(name) + " is null");
    }
}

/// Runs the body of a C entry point: its result, or the code of what it threw with the words kept for the
/// caller.
template <typename Body>
bs_result_t guarded(Body&& body) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return BS_SUCCESS;
        } else {
            return body();
        }
    } catch (...) {
        const failure why = current_failure();
        set_last_error(why.message.c_str());
        return why.status;
    }
}

} // namespace basalt
