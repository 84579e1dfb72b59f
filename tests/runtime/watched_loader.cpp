#include "watched_loader.hpp"

#include <mutex>
#include <ostream>

#include <dlfcn.h>
#include <unistd.h>

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

namespace {

struct log {
    std::mutex lock;
    std::vector<test::open_call> opens;
    std::vector<std::string> looked_up;
};

log& the_log() {
    static log* const made = new log;
    return *made;
}

} // namespace

namespace test {

watched_loader& watched_loader::instance() {
    static watched_loader* const made = new watched_loader;
    return *made;
}

std::vector<open_call> watched_loader::opens() const {
    const std::lock_guard guard(the_log().lock);
    return the_log().opens;
}

std::vector<std::string> watched_loader::looked_up() const {
    const std::lock_guard guard(the_log().lock);
    return the_log().looked_up;
}

} // namespace test

void* __wrap_dlopen(const char* name, int flags) {
    {
        const std::lock_guard guard(the_log().lock);
        the_log().opens.push_back({name, flags});
    }
    const auto& files = test::watched_loader::instance().files;
    const auto found = files.find(name);
    if (found == files.end()) {
        return __real_dlopen(name, flags);
    }
    return found->second.empty() ? nullptr : __real_dlopen(found->second.c_str(), flags);
}

void* __wrap_dlsym(void* library, const char* name) {
    {
        const std::lock_guard guard(the_log().lock);
        the_log().looked_up.push_back(name);
    }
    return __real_dlsym(library, name);
}

char* __wrap_getcwd(char* buffer, std::size_t size) {
    const auto& replaced = test::watched_loader::instance().working_directory;
    return replaced ? replaced(buffer, size) : __real_getcwd(buffer, size);
}
