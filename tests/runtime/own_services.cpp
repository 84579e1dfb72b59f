#include "own_services.hpp"

#include <qtx_services.h>

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

std::mutex reports_lock;
std::vector<std::string> kept_reports;
std::atomic<bool> static_libc = false;

void report(const std::string& text) {
    const std::lock_guard guard(reports_lock);
    kept_reports.push_back(text);
}

} // namespace

namespace test {

std::vector<std::string> reports() {
    const std::lock_guard guard(reports_lock);
    return kept_reports;
}

void forget_reports() {
    const std::lock_guard guard(reports_lock);
    kept_reports.clear();
}

void set_libc_is_static(bool is_static) {
    static_libc = is_static;
}

} // namespace test

extern "C" {

void qtx_serv_lock(int* lock) {
    const std::atomic_ref word(*lock);
    while (word.exchange(1, std::memory_order_acquire) != 0) {
        std::this_thread::yield();
    }
}

void qtx_serv_unlock(int* lock) {
    std::atomic_ref(*lock).store(0, std::memory_order_release);
}

int qtx_serv_libc_is_static() {
    return static_libc ? 1 : 0;
}

int qtx_serv_getenv(const char* name, char* buffer, int size) {
    const char* const value = std::getenv(name);
    return value == nullptr ? 0 : std::snprintf(buffer, static_cast<std::size_t>(size), "%s", value);
}

size_t qtx_serv_strnlen_s(const char* string, size_t bound) {
    return strnlen(string, bound);
}

int qtx_serv_strncpy_s(char* destination, size_t size, const char* source, size_t count) {
    return std::snprintf(destination, size, "%.*s", static_cast<int>(count), source);
}

int qtx_serv_strncat_s(char* destination, size_t size, const char* source, size_t count) {
    const std::size_t used = strnlen(destination, size);
    return qtx_serv_strncpy_s(destination + used, size - used, source, count);
}

int qtx_serv_fprintf_s(FILE*, const char*, ...) {
    return 0;
}

void qtx_serv_print(int kind, int message, int n_arguments, ...) {
    va_list arguments;
    va_start(arguments, n_arguments);
    const char* const text = va_arg(arguments, const char*);
    report("print " + std::to_string(kind) + " " + std::to_string(message) + " " +
           std::to_string(n_arguments) + " " + text);
    va_end(arguments);
}

void qtx_serv_exit(int code) {
    report("exit " + std::to_string(code));
}

void qtx_serv_iface_exit(int code) {
    report("iface_exit " + std::to_string(code));
}
}
