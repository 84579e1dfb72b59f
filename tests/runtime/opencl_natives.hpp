#pragma once

#include "natives.hpp"

#include <CL/cl.h>

namespace test {

/// The first OpenCL device of the machine with a queue; null handles where there is none.
struct opencl_natives {
    cl_device_id device = nullptr;
    cl_context context = nullptr;
    cl_command_queue queue = nullptr;

    explicit opencl_natives(cl_command_queue_properties order = 0) {
        cl_platform_id platform = nullptr;
        if (clGetPlatformIDs(1, &platform, nullptr) == CL_SUCCESS &&
            clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, nullptr) == CL_SUCCESS) {
            context = clCreateContext(nullptr, 1, &device, nullptr, nullptr, nullptr);
            const cl_queue_properties properties[] = {CL_QUEUE_PROPERTIES, order, 0};
            queue = clCreateCommandQueueWithProperties(context, device, properties, nullptr);
            keep(context);
            keep(queue);
        }
    }
};

inline interop_object interop_of(const opencl_natives& natives) {
    return interop_object(omptarget_interop_create_opencl(natives.device, natives.context, natives.queue));
}

} // namespace test
