#include "queue_lookup.hpp"

#include "runtime/interop_properties.hpp"
#include "runtime/qtx_cl_init.hpp"
#include "runtime/qtx_sycl_context_cache.hpp"

#include <sycl/interop_opencl.hpp>

#include <CL/cl.h>

#include <optional>

namespace aurelo::qtx::stats::detail::openmp {

namespace {

namespace bridge = aurelo::qtx::gpu;
using bridge::interop_property;
using bridge::read_property;

using found_queue = std::optional<sycl::queue>;

int runtime_of_backend_kind(void* interop) {
    const std::int32_t* kind = nullptr;
    if (!read_property(interop, interop_property::backend_kind, kind) || kind == nullptr) {
        return bridge::foreign_runtime::none;
    }
    switch (*kind) {
    case bridge::backend_kind::opencl:
        return bridge::foreign_runtime::opencl;
    case bridge::backend_kind::basalt:
        return bridge::foreign_runtime::basalt;
    default:
        return bridge::foreign_runtime::none;
    }
}

int foreign_runtime_of(void* interop) {
    int code = -1;
    const auto id =
        qtx_omp_get_interop_int(interop, static_cast<int>(bridge::interop_int::foreign_runtime), &code);
    return code == 0 ? static_cast<int>(id) : runtime_of_backend_kind(interop);
}

found_queue sycl_queue(void* interop) {
    const sycl::queue* queue = nullptr;
    if (!read_property(interop, interop_property::queue, queue) || queue == nullptr) {
        return std::nullopt;
    }
    return *queue;
}

found_queue basalt_queue(void* interop, const sycl::async_handler& handler) {
    _bs_platform_handle_t* platform = nullptr;
    _bs_device_handle_t* device = nullptr;
    void* context = nullptr;
    if (!read_property(interop, interop_property::platform, platform) ||
        !read_property(interop, interop_property::device, device) ||
        !read_property(interop, interop_property::context, context)) {
        return std::nullopt;
    }
    namespace basalt = sycl::ext::aurelo::basalt;
    auto sycl_device = basalt::make_device(basalt::make_platform(platform), device);
    // Only a check that the object has a queue: commands of ours go to one of their own.
    void* queue = nullptr;
    if (!read_property(interop, interop_property::queue, queue)) {
        return std::nullopt;
    }
    const sycl::context* const cached =
        bridge::lookup_and_cache_nerva_context(context, device, qtx_gpu_backend_basalt, &sycl_device);
    return sycl::queue(*cached, sycl_device, handler, sycl::property_list{});
}

found_queue opencl_queue(void* interop, const sycl::async_handler& handler) {
    if (qtx_cl_load_lib() != 0) {
        return std::nullopt;
    }
    void* context = nullptr;
    void* queue = nullptr;
    if (!read_property(interop, interop_property::context, context) ||
        !read_property(interop, interop_property::queue, queue)) {
        return std::nullopt;
    }
    const sycl::context* const cached =
        bridge::lookup_and_cache_nerva_context(context, nullptr, qtx_gpu_backend_opencl, nullptr);
    return sycl::make_queue<sycl::backend::opencl>(static_cast<cl_command_queue>(queue), *cached, handler);
}

found_queue queue_of(void* interop, int runtime, const sycl::async_handler& handler) {
    switch (runtime) {
    case bridge::foreign_runtime::opencl:
        return opencl_queue(interop, handler);
    case bridge::foreign_runtime::sycl:
        return sycl_queue(interop);
    case bridge::foreign_runtime::basalt:
        return basalt_queue(interop, handler);
    default:
        return std::nullopt;
    }
}

} // namespace

sycl::queue qtx_tb_omp_get_openmp_queue(void* interop, int& id, const sycl::async_handler& handler) {
    id = bridge::foreign_runtime::none;
    const int runtime = foreign_runtime_of(interop);
    if (auto found = queue_of(interop, runtime, handler)) {
        id = runtime;
        return *found;
    }
    return sycl::queue(sycl::property_list{});
}

} // namespace aurelo::qtx::stats::detail::openmp
