#include "opencl_api.hpp"

#include <sycl/exception.hpp>

namespace sycl::detail::opencl {

std::string status_name(cl_int status) {
    switch (status) {
#define NAME(STATUS)                                                                                         \
    case STATUS:                                                                                             \
        return #STATUS;
        NAME(CL_DEVICE_NOT_AVAILABLE)
        NAME(CL_COMPILER_NOT_AVAILABLE)
        NAME(CL_MEM_OBJECT_ALLOCATION_FAILURE)
        NAME(CL_OUT_OF_RESOURCES)
        NAME(CL_OUT_OF_HOST_MEMORY)
        NAME(CL_BUILD_PROGRAM_FAILURE)
        NAME(CL_EXEC_STATUS_ERROR_FOR_EVENTS_IN_WAIT_LIST)
        NAME(CL_INVALID_VALUE)
        NAME(CL_INVALID_DEVICE)
        NAME(CL_INVALID_CONTEXT)
        NAME(CL_INVALID_COMMAND_QUEUE)
        NAME(CL_INVALID_BINARY)
        NAME(CL_INVALID_BUILD_OPTIONS)
        NAME(CL_INVALID_PROGRAM)
        NAME(CL_INVALID_PROGRAM_EXECUTABLE)
        NAME(CL_INVALID_KERNEL_NAME)
        NAME(CL_INVALID_KERNEL)
        NAME(CL_INVALID_ARG_INDEX)
        NAME(CL_INVALID_ARG_VALUE)
        NAME(CL_INVALID_ARG_SIZE)
        NAME(CL_INVALID_KERNEL_ARGS)
        NAME(CL_INVALID_WORK_GROUP_SIZE)
        NAME(CL_INVALID_WORK_ITEM_SIZE)
        NAME(CL_INVALID_EVENT_WAIT_LIST)
        NAME(CL_INVALID_EVENT)
        NAME(CL_INVALID_OPERATION)
        NAME(CL_INVALID_GLOBAL_WORK_SIZE)
#undef NAME
    default:
        return "OpenCL status " + std::to_string(status);
    }
}

void check(cl_int status, const char* what) {
    if (status == CL_SUCCESS) {
        return;
    }
    const bool memory = status == CL_MEM_OBJECT_ALLOCATION_FAILURE || status == CL_OUT_OF_HOST_MEMORY;
    throw exception(memory ? errc::memory_allocation : errc::runtime,
                    std::string(what) + ": " + status_name(status));
}

std::string device_text(cl_device_id device, cl_device_info what) {
    return text_of([=](std::size_t bytes, void* target, std::size_t* needed) {
        return clGetDeviceInfo(device, what, bytes, target, needed);
    });
}

} // namespace sycl::detail::opencl
