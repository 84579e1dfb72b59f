#include "in_child.hpp"
#include "order_probe.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace {

int events_out = -1;

/// What \p body, in a process of its own, and the end of that process write.
template <typename Body>
std::string events_of(Body body) {
    std::FILE* const file = std::tmpfile();
    events_out = fileno(file);
    test::in_child(body);
    std::string text(4096, ' ');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

void* load() {
    void* const module = dlopen(ORDER_PROBE, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        order_event(dlerror());
    }
    return module;
}

void use(void* module) {
    auto* const check = reinterpret_cast<decltype(&order_probe_first_is_contexts)>(
        dlsym(module, "order_probe_first_is_contexts"));
    order_event(check() ? "the first has the contexts" : "the caches were built in the wrong order");
}

} // namespace

void order_event(const char* what) {
    const std::string line = std::string(what) + "\n";
    if (write(events_out, line.data(), line.size()) < 0) {
        std::abort();
    }
}

// In front of those of the runtime.
extern "C" {
__attribute__((visibility("default"))) void __sycl_register_lib(const void*) {
    order_event("images");
}
__attribute__((visibility("default"))) void __sycl_unregister_lib(const void*) {
    order_event("images gone");
}
}

TEST(order, images_come_first_and_go_last_and_queues_go_before_contexts_at_exit_and_dlclose) {
    const std::string events =
        "images\nworking directory\nfirst cache\nsecond cache\nthe first has the contexts\n"
        "second cache gone\nfirst cache gone\nimages gone\n";
    EXPECT_EQ(events_of([] { use(load()); }), events);
    EXPECT_EQ(events_of([] {
                  void* const module = load();
                  use(module);
                  dlclose(module);
                  const bool is_here = dlopen(ORDER_PROBE, RTLD_NOW | RTLD_NOLOAD) != nullptr;
                  order_event(is_here ? "still here" : "unloaded");
                  _exit(0); // the leak checker could not name what the caches gave away
              }),
              events + "unloaded\n");
}
