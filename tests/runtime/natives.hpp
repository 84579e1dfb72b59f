#pragma once

#include <basalt/basalt.h>
#include <omptarget/interop.h>
#include <sycl/sycl.hpp>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace test {

constexpr auto soft_gpu = sycl::backend::ext_aurelo_basalt;

inline void require(bs_result_t result) {
    if (result != BS_SUCCESS) {
        throw std::runtime_error(bs_last_error());
    }
}

/// Keeps a native handle to the end of the process: the caches never forget one, so no new object must get its address.
inline void keep(void* handle) {
    static std::mutex lock;
    static auto* const kept = new std::vector<void*>;
    const std::lock_guard guard(lock);
    kept->push_back(handle);
}

inline bs_platform_handle_t basalt_platform() {
    bs_platform_handle_t platform = nullptr;
    require(bs_platform_get(&platform));
    return platform;
}

/// What an OpenMP run-time holds of a software GPU: a device, a context, a queue and an immediate command list.
struct basalt_natives {
    bs_platform_handle_t platform = basalt_platform();
    bs_device_handle_t device = nullptr;
    bs_context_handle_t context = nullptr;
    bs_command_queue_handle_t queue = nullptr;
    bs_command_list_handle_t list = nullptr;

    basalt_natives() {
        bs_device_desc_t desc;
        bs_device_desc_init(&desc);
        desc.max_work_group_size = 64;
        desc.n_threads = 1;
        require(bs_device_add_hidden(platform, &desc, &device));
        require(bs_context_create(platform, 1, &device, &context));
        keep(context);
        require(bs_command_queue_create(context, device, 1, &queue));
        keep(queue);
        require(bs_command_list_create_immediate(context, device, 1, &list));
        keep(list);
    }
    basalt_natives(const basalt_natives&) = delete;
    basalt_natives& operator=(const basalt_natives&) = delete;

    sycl::device sycl_device() const {
        namespace basalt = sycl::ext::aurelo::basalt;
        return basalt::make_device(basalt::make_platform(platform), device);
    }
};

struct destroy_interop {
    void operator()(omptarget_interop_t interop) const { omptarget_interop_destroy(interop); }
};
using interop_object = std::unique_ptr<omptarget_interop_s, destroy_interop>;

inline interop_object interop_of(const basalt_natives& natives) {
    return interop_object(
        omptarget_interop_create_basalt(natives.platform, natives.device, natives.context, natives.queue, 0));
}

inline interop_object interop_of_list(const basalt_natives& natives) {
    return interop_object(
        omptarget_interop_create_basalt(natives.platform, natives.device, natives.context, natives.list, 1));
}

inline std::vector<int> reads_of(const interop_object& interop) {
    std::vector<int> reads(1024);
    reads.resize(omptarget_interop_reads(interop.get(), reads.data(), reads.size()));
    return reads;
}

/// What a kernel of \p queue computes, to see that the queue works.
inline int value_from(sycl::queue queue) {
    int* const value = sycl::malloc_shared<int>(1, queue);
    queue.single_task([=] { *value = 42; }).wait();
    const int result = *value;
    sycl::free(value, queue);
    return result;
}

} // namespace test
