#pragma once

#define CL_TARGET_OPENCL_VERSION 210
#include <CL/cl.h>

#include <string>
#include <vector>

namespace sycl::detail::opencl {

/// Throws a sycl::exception for a failed call of the driver.
void check(cl_int status, const char* what);

/// The name of a status, as the OpenCL headers have it.
std::string status_name(cl_int status);

/// A counted reference to an object of the driver.
template <typename Handle, cl_int (*retain)(Handle), cl_int (*release)(Handle)>
class reference {
public:
    reference() = default;
    /// Takes over a reference that the caller has.
    explicit reference(Handle owned) : handle_(owned) {}
    /// A reference of its own to somebody else's object.
    static reference share(Handle other) {
        check(retain(other), "an object of OpenCL");
        return reference(other);
    }
    reference(reference&& other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
    reference& operator=(reference&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~reference() {
        if (handle_ != nullptr) {
            release(handle_);
        }
    }
    Handle get() const { return handle_; }

private:
    Handle handle_ = nullptr;
};

using context_reference = reference<cl_context, clRetainContext, clReleaseContext>;
using queue_reference = reference<cl_command_queue, clRetainCommandQueue, clReleaseCommandQueue>;
using program_reference = reference<cl_program, clRetainProgram, clReleaseProgram>;
using kernel_reference = reference<cl_kernel, clRetainKernel, clReleaseKernel>;
using event_reference = reference<cl_event, clRetainEvent, clReleaseEvent>;

/// The text that `query(bytes, target, &needed)` delivers; empty if it fails.
template <typename Query>
std::string text_of(const Query& query) {
    std::size_t bytes = 0;
    if (query(std::size_t{0}, nullptr, &bytes) != CL_SUCCESS || bytes == 0) {
        return "";
    }
    std::string result(bytes, '\0');
    if (query(bytes, result.data(), nullptr) != CL_SUCCESS) {
        return "";
    }
    result.resize(std::char_traits<char>::length(result.c_str()));
    return result;
}

std::string device_text(cl_device_id device, cl_device_info what);

/// A value of a device; \p otherwise if the device does not tell it.
template <typename Value>
Value device_value(cl_device_id device, cl_device_info what, Value otherwise) {
    Value result = otherwise;
    return clGetDeviceInfo(device, what, sizeof result, &result, nullptr) == CL_SUCCESS ? result : otherwise;
}

} // namespace sycl::detail::opencl
