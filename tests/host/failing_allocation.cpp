#include "failing_allocation.hpp"

#include <basalt/basalt.h>

#include <atomic>

#include <dlfcn.h>

namespace {

std::atomic<int> until_failure{-1};
std::atomic<int> live{0};
std::atomic<int> tried{0};

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" bs_result_t bs_mem_alloc(bs_context_handle_t context, bs_device_handle_t device,
                                    bs_memory_type_t type, size_t bytes, size_t alignment, void** memory) {
    static const auto real = next<decltype(&bs_mem_alloc)>("bs_mem_alloc");
    ++tried;
    if (until_failure >= 0 && until_failure-- == 0) {
        return BS_ERROR_OUT_OF_MEMORY;
    }
    const auto result = real(context, device, type, bytes, alignment, memory);
    live += result == BS_SUCCESS ? 1 : 0;
    return result;
}

extern "C" bs_result_t bs_mem_free(bs_context_handle_t context, void* memory) {
    static const auto real = next<decltype(&bs_mem_free)>("bs_mem_free");
    live -= memory != nullptr ? 1 : 0;
    return real(context, memory);
}

namespace test {

void fail_allocation_after(int sound) {
    until_failure = sound;
}
int live_allocations() {
    return live;
}
int take_tried_allocations() {
    return tried.exchange(0);
}

} // namespace test
