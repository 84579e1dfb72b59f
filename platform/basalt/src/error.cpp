#include "error.hpp"

#include <cstring>

namespace basalt {

namespace {

/// The words are short enough to need no memory if there is none for those given.
failure described(bs_result_t status, const char* words) noexcept {
    try {
        return {status, words};
    } catch (const std::bad_alloc&) {
        return {status, "out of memory"};
    }
}

// No class with a destructor: callers may ask while the process exits, after thread-local objects have gone.
thread_local char last_message[1024] = "";

} // namespace

void throw_invalid(const std::string& message) {
    throw error(BS_ERROR_INVALID_ARGUMENT, message);
}

failure current_failure() noexcept {
    try {
        throw;
    } catch (const error& e) {
        return described(e.status(), e.what());
    } catch (const std::bad_alloc&) {
        return described(BS_ERROR_OUT_OF_MEMORY, "out of memory");
    } catch (const std::system_error& e) {
        return described(BS_ERROR_OUT_OF_MEMORY, e.what());
    } catch (const std::exception& e) {
        return described(BS_ERROR_INVALID_ARGUMENT, e.what());
    }
}

void set_last_error(const char* message) noexcept {
    std::strncpy(last_message, message, sizeof(last_message) - 1);
}

const char* last_error() noexcept {
    return last_message;
}

} // namespace basalt
