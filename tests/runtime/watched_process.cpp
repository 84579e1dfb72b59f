#include "watched_process.hpp"

#include <qtx_services.h>

#include <cstdarg>
#include <cstdlib>

extern "C" {
void* __real_dlopen(const char* name, int flags);
void* __real_dlsym(void* library, const char* name);
char* __real_getcwd(char* buffer, std::size_t size);
// The linker wants to see these from the sanitizers' libraries, which name the real functions.
#pragma GCC visibility push(default)
void* __wrap_dlopen(const char* name, int flags);
void* __wrap_dlsym(void* library, const char* name);
char* __wrap_getcwd(char* buffer, std::size_t size);
#pragma GCC visibility pop
}

namespace test {

watched_process& process() {
    static auto* const made = new watched_process;
    return *made;
}

} // namespace test

namespace {

template <typename Seen>
void take_down(std::vector<Seen>& list, Seen seen) {
    const std::lock_guard guard(test::process().lock);
    list.push_back(std::move(seen));
}

void report(const std::string& text) {
    take_down(test::process().reports, text);
}

} // namespace

void* __wrap_dlopen(const char* name, int flags) {
    take_down(test::process().opens, {name, flags});
    const auto& files = test::process().files;
    const auto found = files.find(name);
    if (found == files.end()) {
        return __real_dlopen(name, flags);
    }
    return found->second.empty() ? nullptr : __real_dlopen(found->second.c_str(), flags);
}

void* __wrap_dlsym(void* library, const char* name) {
    take_down(test::process().looked_up, std::string(name));
    return __real_dlsym(library, name);
}

char* __wrap_getcwd(char* buffer, std::size_t size) {
    const auto& replaced = test::process().working_directory;
    return replaced ? replaced(buffer, size) : __real_getcwd(buffer, size);
}

// In front of those of qtx_services, which does the rest.
extern "C" {

int qtx_serv_libc_is_static() {
    return test::process().libc_is_static ? 1 : 0;
}

/// Unlike that of qtx_services it tells the length of the whole value, as some processes' may.
int qtx_serv_getenv(const char* name, char* buffer, int size) {
    const char* const value = std::getenv(name);
    return value == nullptr ? 0 : std::snprintf(buffer, static_cast<std::size_t>(size), "%s", value);
}

void qtx_serv_print(int kind, int message, int n_arguments, ...) {
    va_list arguments;
    va_start(arguments, n_arguments);
    const std::string text = va_arg(arguments, const char*);
    va_end(arguments);
    report("print " + std::to_string(kind) + " " + std::to_string(message) + " " +
           std::to_string(n_arguments) + " " + text);
}

void qtx_serv_exit(int code) {
    report("exit " + std::to_string(code));
}

void qtx_serv_iface_exit(int code) {
    report("iface_exit " + std::to_string(code));
}
}
