#pragma once

#include "natives.hpp"

#include <CL/cl.h>

namespace test {

/// The first OpenCL device of the machine with an in-order queue; null handles where there is none.
struct opencl_natives {
    cl_device_id device = nullptr;
    cl_context context = nullptr;
    cl_command_queue queue = nullptr;

    opencl_natives() {
        cl_platform_id platform = nullptr;
        if (clGetPlatformIDs(1, &platform, nullptr) == CL_SUCCESS &&
            clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, nullptr) == CL_SUCCESS) {
            context = clCreateContext(nullptr, 1, &device, nullptr, nullptr, nullptr);
            queue = clCreateCommandQueueWithProperties(context, device, nullptr, nullptr);
            keep(context);
            keep(queue);
        }
    }
    opencl_natives(const opencl_natives&) = delete;
    opencl_natives& operator=(const opencl_natives&) = delete;
};

} // namespace test
