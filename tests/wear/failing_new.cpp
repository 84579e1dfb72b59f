// Takes the place of the program's allocation functions, also for the libraries that it loads.
#include "failing_new.hpp"

#include <cstdlib>
#include <new>

namespace {

thread_local int until_failure = -1;
thread_local bool failures_last = false;
thread_local bool has_failed = false;

bool fails_now() {
    if (until_failure < 0) {
        return false;
    }
    if (until_failure > 0) {
        --until_failure;
        return false;
    }
    until_failure = failures_last ? 0 : -1;
    has_failed = true;
    return true;
}

void* try_new(std::size_t bytes) noexcept {
    return fails_now() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}

void* try_new(std::size_t bytes, std::align_val_t alignment) noexcept {
    const auto step = static_cast<std::size_t>(alignment);
    return fails_now() ? nullptr : std::aligned_alloc(step, (bytes / step + 1) * step);
}

void* checked(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

// All forms: those of a sanitizer would go with its own only.
#define ALL_FORMS(KIND)                                                                                      \
    void* operator new KIND(std::size_t bytes) {                                                             \
        return checked(try_new(bytes));                                                                      \
    }                                                                                                        \
    void* operator new KIND(std::size_t bytes, std::align_val_t alignment) {                                 \
        return checked(try_new(bytes, alignment));                                                           \
    }                                                                                                        \
    void* operator new KIND(std::size_t bytes, const std::nothrow_t&) noexcept {                             \
        return try_new(bytes);                                                                               \
    }                                                                                                        \
    void* operator new KIND(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept { \
        return try_new(bytes, alignment);                                                                    \
    }                                                                                                        \
    void operator delete KIND(void* memory) noexcept {                                                       \
        std::free(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::size_t) noexcept {                                          \
        std::free(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::align_val_t) noexcept {                                     \
        std::free(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::size_t, std::align_val_t) noexcept {                        \
        std::free(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, const std::nothrow_t&) noexcept {                                \
        std::free(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {              \
        std::free(memory);                                                                                   \
    }

ALL_FORMS()
ALL_FORMS([])

namespace test {

failing_new::failing_new(int sound, bool lasting) {
    until_failure = sound;
    failures_last = lasting;
    has_failed = false;
}

failing_new::~failing_new() {
    until_failure = -1;
}

bool failing_new::reached() const {
    return has_failed;
}

} // namespace test
