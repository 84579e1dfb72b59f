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

void* checked(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void* operator new(std::size_t bytes) {
    return checked(fails_now() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes));
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    return checked(fails_now() ? nullptr : std::aligned_alloc(step, (bytes / step + 1) * step));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

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
