#include "registrations.hpp"

#include <dlfcn.h>
#include <stdexcept>

namespace test {

registrations& watched() {
    static registrations all;
    return all;
}

loaded_library::loaded_library() : handle_(dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) {
        throw std::runtime_error(dlerror());
    }
}

loaded_library::~loaded_library() {
    dlclose(handle_);
}

void* loaded_library::symbol(const char* name) const {
    return dlsym(handle_, name);
}

namespace {

/// The run-time's function of that name, which the one of this program hides.
auto of_runtime(const char* name) {
    void* const runtime = dlopen("libsycl.so.7", RTLD_NOW | RTLD_NOLOAD);
    void* const function = runtime ? dlsym(runtime, name) : nullptr;
    if (!function) {
        throw std::runtime_error(std::string("libsycl.so.7 has no ") + name);
    }
    dlclose(runtime);
    return reinterpret_cast<void (*)(const descriptor*)>(function);
}

} // namespace
} // namespace test

extern "C" {

void __sycl_register_lib(const test::descriptor* images) {
    test::watched().made.push_back(images);
    test::of_runtime("__sycl_register_lib")(images);
}

void __sycl_unregister_lib(const test::descriptor* images) {
    test::watched().removed.push_back(images);
    test::of_runtime("__sycl_unregister_lib")(images);
}
}
