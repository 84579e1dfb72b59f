#include "qtx_sycl_context_cache.hpp"

#include "interop_properties.hpp"
#include "spin_shared_mutex.hpp"

#include <sycl/interop_opencl.hpp>

#include <CL/cl.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <unordered_map>

namespace aurelo::qtx::gpu {

namespace {

namespace basalt = sycl::ext::aurelo::basalt;

constexpr auto soft_gpu = sycl::backend::ext_aurelo_basalt;

using handle_pair = std::pair<void*, void*>;

// One initialiser makes both, after the device images are registered. They are destroyed before the images go, the queues
// first.
[[gnu::init_priority(103)]] std::unordered_map<handle_pair, sycl::context, pair_hash>
    qtx_gpu_global_nerva_context_cache;
[[gnu::init_priority(103)]] std::unordered_map<void*, sycl::queue> qtx_gpu_global_nerva_queue_cache;

constinit spin_shared_mutex qtx_gpu_global_nerva_context_cache_lock;
constinit spin_shared_mutex qtx_gpu_global_nerva_queue_cache_lock;

/// The entry of a key, or null; the caller holds the lock. Entries never move.
template <typename Cache>
typename Cache::mapped_type* find(Cache& cache, const typename Cache::key_type& key) {
    const auto found = cache.find(key);
    return found == cache.end() ? nullptr : &found->second;
}

template <typename Cache>
typename Cache::mapped_type* find_shared(Cache& cache, spin_shared_mutex& lock,
                                         const typename Cache::key_type& key) {
    const std::shared_lock guard(lock);
    return find(cache, key);
}

/// The entry of a key, or what \p make returns, which is then cached. Nobody makes an object twice.
template <typename Cache, typename Make>
typename Cache::mapped_type* find_or_make(Cache& cache, spin_shared_mutex& lock,
                                          const typename Cache::key_type& key, Make make) {
    using object = typename Cache::mapped_type;
    const std::unique_lock guard(lock);
    if (object* const entry = find(cache, key)) {
        return entry;
    }
    auto made = std::make_unique<object>(make());
    cache.emplace(key, *made);
    return made.release();
}

sycl::context make_context(void* native, qtx_gpu_backend_t backend, const sycl::device* device) {
    if (backend != qtx_gpu_backend_basalt) {
        return sycl::make_context<sycl::backend::opencl>(static_cast<cl_context>(native));
    }
    if (device == nullptr) {
        throw sycl::exception(sycl::errc::invalid, "the device of a new basalt context is null");
    }
    return sycl::make_context<soft_gpu>(
        {static_cast<_bs_context_handle_t*>(native), {*device}, basalt::ownership::keep});
}

basalt::queue_handle queue_handle_of(void* native, void* interop) {
    int code = -1;
    const auto immediate =
        qtx_omp_get_interop_int(interop, static_cast<int>(interop_int::immediate_list), &code);
    if (code == 0 && immediate != 0) {
        return static_cast<_bs_command_list_handle_t*>(native);
    }
    return static_cast<_bs_command_queue_handle_t*>(native);
}

sycl::queue make_queue(void* native, qtx_gpu_backend_t backend, const sycl::context& context, void* interop) {
    if (backend != qtx_gpu_backend_basalt) {
        return sycl::make_queue<sycl::backend::opencl>(static_cast<cl_command_queue>(native), context);
    }
    return sycl::make_queue<soft_gpu>({queue_handle_of(native, interop), context.get_devices().front(),
                                       basalt::ownership::keep, sycl::property_list{}},
                                      context);
}

/// The handles of an interop object that name its context and its queue.
struct native_handles {
    qtx_gpu_backend_t backend = qtx_gpu_backend_opencl;
    void* context = nullptr;
    void* queue = nullptr;
    void* device = nullptr;
};

std::optional<native_handles> read_handles(void* interop) {
    const std::int32_t* kind = nullptr;
    if (!read_property(interop, interop_property::backend_kind, kind) || kind == nullptr) {
        return std::nullopt;
    }
    native_handles found;
    bool complete = false;
    if (*kind == backend_kind::basalt) {
        found.backend = qtx_gpu_backend_basalt;
        complete = read_property(interop, interop_property::context, found.context) &&
                   read_property(interop, interop_property::queue, found.queue) &&
                   read_property(interop, interop_property::device, found.device);
    } else {
        complete = read_property(interop, interop_property::platform, found.context) &&
                   read_property(interop, interop_property::queue, found.queue);
    }
    return complete ? std::optional(found) : std::nullopt;
}

/// A new context for handles whose basalt platform only the interop object knows; nothing if it doesn't tell.
std::optional<sycl::context> make_context(const native_handles& handles, void* interop) {
    if (handles.backend != qtx_gpu_backend_basalt) {
        return make_context(handles.context, handles.backend, nullptr);
    }
    _bs_platform_handle_t* native_platform = nullptr;
    if (!read_property(interop, interop_property::platform, native_platform)) {
        return std::nullopt;
    }
    const auto device = basalt::make_device(basalt::make_platform(native_platform),
                                            static_cast<_bs_device_handle_t*>(handles.device));
    return make_context(handles.context, handles.backend, &device);
}

std::optional<sycl::context> context_of(const native_handles& handles, void* interop) {
    auto& cache = qtx_gpu_global_nerva_context_cache;
    const handle_pair key(handles.context, handles.device);
    {
        const std::shared_lock guard(qtx_gpu_global_nerva_context_cache_lock);
        if (const auto* const entry = find(cache, key)) {
            return *entry;
        }
    }
    const std::unique_lock guard(qtx_gpu_global_nerva_context_cache_lock);
    if (const auto* const entry = find(cache, key)) {
        return *entry;
    }
    auto made = make_context(handles, interop);
    if (made.has_value()) {
        cache.emplace(key, *made);
    }
    return made;
}

sycl::queue* find_or_make_queue(void* native, qtx_gpu_backend_t backend, const sycl::context& context,
                                void* interop) {
    return find_or_make(qtx_gpu_global_nerva_queue_cache, qtx_gpu_global_nerva_queue_cache_lock, native,
                        [&] { return make_queue(native, backend, context, interop); });
}

} // namespace

sycl::context* lookup_and_cache_nerva_context(void* context, void* device, qtx_gpu_backend_t backend,
                                              sycl::device* sycl_device) {
    auto& cache = qtx_gpu_global_nerva_context_cache;
    auto& lock = qtx_gpu_global_nerva_context_cache_lock;
    const handle_pair key(context, device);
    if (auto* const entry = find_shared(cache, lock, key)) {
        return entry;
    }
    return find_or_make(cache, lock, key, [&] { return make_context(context, backend, sycl_device); });
}

// The context by value, as its callers were compiled.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
sycl::queue* lookup_and_cache_nerva_queue(void* queue, qtx_gpu_backend_t backend, sycl::context context,
                                          void* interop) {
    if (auto* const entry =
            find_shared(qtx_gpu_global_nerva_queue_cache, qtx_gpu_global_nerva_queue_cache_lock, queue)) {
        return entry;
    }
    return find_or_make_queue(queue, backend, context, interop);
}

sycl::queue* lookup_and_cache_nerva_queue_and_context(void* interop) {
    const auto handles = read_handles(interop);
    if (!handles.has_value()) {
        return nullptr;
    }
    if (auto* const entry = find_shared(qtx_gpu_global_nerva_queue_cache,
                                        qtx_gpu_global_nerva_queue_cache_lock, handles->queue)) {
        return entry;
    }
    const auto context = context_of(*handles, interop);
    return context.has_value() ? find_or_make_queue(handles->queue, handles->backend, *context, interop)
                               : nullptr;
}

} // namespace aurelo::qtx::gpu
