#include "command.hpp"
#include "opencl_queue.hpp"
#include "queue_impl.hpp"

#include <sycl/interop.hpp>

#include <string>

namespace sycl {

namespace cl = detail::opencl;

namespace {

template <typename Native, typename Impl>
Native& as_opencl(const std::shared_ptr<Impl>& impl) {
    if (impl->get_backend() != backend::opencl) {
        throw exception(errc::backend_mismatch, "the object is none of the OpenCL backend");
    }
    return static_cast<Native&>(*impl);
}

template <typename Handle>
void require_handle(Handle* native, const char* what) {
    if (native == nullptr) {
        throw exception(errc::invalid, std::string("the native handle of the ") + what + " is null");
    }
}

std::shared_ptr<detail::device_impl> device_of(cl_device_id native) {
    for (const auto& each : detail::all_platforms()) {
        if (each->get_backend() != backend::opencl) {
            continue;
        }
        if (auto found = static_cast<cl::platform&>(*each).device_of(native)) {
            return found;
        }
    }
    throw exception(errc::invalid, "the handle is no device of an OpenCL platform");
}

detail::device_list devices_of(cl_context native) {
    std::size_t bytes = 0;
    cl::check(clGetContextInfo(native, CL_CONTEXT_DEVICES, 0, nullptr, &bytes), "devices of a context");
    std::vector<cl_device_id> natives(bytes / sizeof(cl_device_id));
    cl::check(clGetContextInfo(native, CL_CONTEXT_DEVICES, bytes, natives.data(), nullptr),
              "devices of a context");
    detail::device_list result;
    for (const auto each : natives) {
        result.push_back(device_of(each));
    }
    return result;
}

template <typename Value>
Value queue_value(cl_command_queue native, cl_command_queue_info what) {
    Value result{};
    cl::check(clGetCommandQueueInfo(native, what, sizeof(Value), &result, nullptr), "a queue of OpenCL");
    return result;
}

} // namespace

template <>
context make_context<backend::opencl>(cl_context const& native, const async_handler& handler) {
    require_handle(native, "context");
    auto devices = devices_of(native);
    return context(
        std::make_shared<cl::context>(std::move(devices), handler, cl::context_reference::share(native)));
}

template <>
queue make_queue<backend::opencl>(cl_command_queue const& native, const context& target,
                                  const async_handler& handler) {
    require_handle(native, "queue");
    const auto& owner = detail::impl_of<detail::context_impl>(target);
    auto& opencl_owner = as_opencl<cl::context>(owner);
    if (queue_value<cl_context>(native, CL_QUEUE_CONTEXT) != opencl_owner.native()) {
        throw exception(errc::invalid, "the native queue is of another context than the one given");
    }
    const auto device = device_of(queue_value<cl_device_id>(native, CL_QUEUE_DEVICE));
    const auto properties = queue_value<cl_command_queue_properties>(native, CL_QUEUE_PROPERTIES);
    const bool in_order = (properties & CL_QUEUE_OUT_OF_ORDER_EXEC_MODE_ENABLE) == 0;
    return queue(std::make_shared<detail::queue_impl>(
        owner, device, handler, in_order,
        std::make_unique<cl::queue>(opencl_owner, device, cl::queue_reference::share(native))));
}

template <>
cl_platform_id get_native<backend::opencl>(const platform& object) {
    return as_opencl<cl::platform>(detail::impl_of<detail::platform_impl>(object)).native();
}
template <>
cl_device_id get_native<backend::opencl>(const device& object) {
    return as_opencl<cl::device>(detail::impl_of<detail::device_impl>(object)).native();
}
template <>
cl_context get_native<backend::opencl>(const context& object) {
    return as_opencl<cl::context>(detail::impl_of<detail::context_impl>(object)).native();
}
template <>
cl_command_queue get_native<backend::opencl>(const queue& object) {
    const auto& impl = detail::impl_of<detail::queue_impl>(object);
    as_opencl<cl::device>(impl->device());
    return static_cast<cl::queue&>(impl->native()).native();
}
template <>
std::vector<cl_event> get_native<backend::opencl>(const event& object) {
    const auto& impl = detail::impl_of<detail::command>(object);
    const auto native = impl == nullptr ? nullptr : impl->get_native_event();
    if (native == nullptr) {
        return {};
    }
    if (impl->get_backend() != backend::opencl) {
        throw exception(errc::backend_mismatch, "the event is none of the OpenCL backend");
    }
    return {static_cast<const cl::event&>(*native).native()};
}

} // namespace sycl
