// Linked with the library's objects into a module: tells the process what happens when it is loaded and
// unloaded.
#include "order_probe.hpp"
#include "natives.hpp"

#include <runtime/qtx_sycl_context_cache.hpp>

#include <array>
#include <unordered_map>

#include <unistd.h>

extern "C" {
int __real___cxa_atexit(void (*destroy)(void*), void* object, void* library);
int __wrap___cxa_atexit(void (*destroy)(void*), void* object, void* library);
char* __real_getcwd(char* buffer, std::size_t size);
char* __wrap_getcwd(char* buffer, std::size_t size);
}

namespace {

struct registered {
    void (*destroy)(void*);
    void* object;
    std::array<const char*, 2> events;
};

std::array<registered, 2> objects{{{nullptr, nullptr, {"first cache", "first cache gone"}},
                                   {nullptr, nullptr, {"second cache", "second cache gone"}}}};
std::size_t n_objects = 0;

void destroy_and_tell(void* object) {
    const auto* const known = static_cast<registered*>(object);
    known->destroy(known->object);
    order_event(known->events[1]);
}

} // namespace

// The one image of the module, which nobody reads: the process watches how it is registered.
extern "C" {
extern const unsigned char device_image_0[1] = {};
extern const unsigned char device_image_end_0[1] = {};
}

int __wrap___cxa_atexit(void (*destroy)(void*), void* object, void* library) {
    if (n_objects == objects.size()) {
        return __real___cxa_atexit(destroy, object, library);
    }
    auto& next = objects[n_objects++];
    next.destroy = destroy;
    next.object = object;
    order_event(next.events[0]);
    return __real___cxa_atexit(destroy_and_tell, &next, library);
}

char* __wrap_getcwd(char* buffer, std::size_t size) {
    order_event("working directory");
    return __real_getcwd(buffer, size);
}

bool order_probe_first_is_contexts() {
    const test::basalt_natives natives;
    const auto interop = test::interop_of(natives);
    aurelo::qtx::gpu::lookup_and_cache_nerva_queue_and_context(interop.get());
    using contexts = std::unordered_map<std::pair<void*, void*>, sycl::context, aurelo::qtx::gpu::pair_hash>;
    using queues = std::unordered_map<void*, sycl::queue>;
    return static_cast<contexts*>(objects[0].object)->count({natives.context, natives.device}) == 1 &&
           static_cast<queues*>(objects[1].object)->count(natives.queue) == 1;
}
