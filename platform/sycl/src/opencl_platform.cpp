#include "opencl_driver.hpp"
#include "opencl_settings.hpp"

#include <algorithm>

namespace sycl::detail::opencl {

namespace {

std::string platform_text(cl_platform_id platform, cl_platform_info what) {
    return text_of([=](std::size_t bytes, void* target, std::size_t* needed) {
        return clGetPlatformInfo(platform, what, bytes, target, needed);
    });
}

std::vector<cl_device_id> native_devices(cl_platform_id platform) {
    cl_uint count = 0;
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &count) != CL_SUCCESS) {
        return {};
    }
    std::vector<cl_device_id> result(count);
    check(clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, count, result.data(), nullptr), "OpenCL devices");
    return result;
}

} // namespace

device_list platform::devices() {
    const std::lock_guard guard(lock_);
    if (known_.empty()) {
        for (const auto native : native_devices(native_)) {
            known_.push_back(std::make_shared<device>(shared_from_this(), native));
        }
    }
    return known_;
}

std::shared_ptr<device_impl> platform::device_of(cl_device_id native) {
    const auto all = devices();
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) {
        return static_cast<const device&>(*each).native() == native;
    });
    return found == all.end() ? nullptr : *found;
}

std::shared_ptr<context_impl> platform::make_context(device_list devices, async_handler handler) {
    std::vector<cl_device_id> natives;
    for (const auto& each : devices) {
        natives.push_back(static_cast<device&>(*each).native());
    }
    const cl_context_properties properties[] = {CL_CONTEXT_PLATFORM,
                                                reinterpret_cast<cl_context_properties>(native_), 0};
    cl_int status = CL_SUCCESS;
    context_reference made(clCreateContext(properties, static_cast<cl_uint>(natives.size()), natives.data(),
                                           nullptr, nullptr, &status));
    check(status, "no OpenCL context");
    return std::make_shared<context>(std::move(devices), std::move(handler), std::move(made));
}

std::vector<std::shared_ptr<platform>> make_platforms() {
    set_driver_defaults();
    cl_uint count = 0;
    if (clGetPlatformIDs(0, nullptr, &count) != CL_SUCCESS || count == 0) {
        return {};
    }
    std::vector<cl_platform_id> natives(count);
    check(clGetPlatformIDs(count, natives.data(), nullptr), "OpenCL platforms");
    std::vector<std::shared_ptr<platform>> result;
    result.reserve(count);
    for (const auto native : natives) {
        result.push_back(std::make_shared<platform>(
            platform_facts{platform_text(native, CL_PLATFORM_NAME), platform_text(native, CL_PLATFORM_VENDOR),
                           platform_text(native, CL_PLATFORM_VERSION)},
            native));
    }
    return result;
}

} // namespace sycl::detail::opencl
