/**
 * \file qtx_cl_entries.hpp
 * \brief The OpenCL entries that the library offers under its own prefix.
 *
 * The list is the one place that names them: pointers, wrappers and resolution are made from it, with the
 * types of the official headers.
 */
#pragma once

#include <stats/export.hpp>

#include <CL/cl.h>

/// X(name, number of parameters), in the order of resolution.
#define QTX_CL_ENTRIES(X)                                                                                    \
    X(clGetSupportedImageFormats, 6)                                                                         \
    X(clGetKernelInfo, 5)                                                                                    \
    X(clCompileProgram, 9)                                                                                   \
    X(clUnloadPlatformCompiler, 1)                                                                           \
    X(clGetPlatformIDs, 3)                                                                                   \
    X(clEnqueueBarrierWithWaitList, 4)                                                                       \
    X(clEnqueueMapBuffer, 10)                                                                                \
    X(clEnqueueWriteBufferRect, 14)                                                                          \
    X(clGetKernelArgInfo, 6)                                                                                 \
    X(clReleaseCommandQueue, 1)                                                                              \
    X(clEnqueueCopyImageToBuffer, 9)                                                                         \
    X(clGetContextInfo, 5)                                                                                   \
    X(clRetainCommandQueue, 1)                                                                               \
    X(clEnqueueWriteImage, 11)                                                                               \
    X(clEnqueueSVMUnmap, 5)                                                                                  \
    X(clCreateProgramWithBinary, 7)                                                                          \
    X(clReleaseSampler, 1)                                                                                   \
    X(clGetDeviceIDs, 5)                                                                                     \
    X(clCreateCommandQueueWithProperties, 4)                                                                 \
    X(clReleaseContext, 1)                                                                                   \
    X(clEnqueueUnmapMemObject, 6)                                                                            \
    X(clCreateContext, 6)                                                                                    \
    X(clGetHostTimer, 2)                                                                                     \
    X(clSetEventCallback, 4)                                                                                 \
    X(clEnqueueCopyBuffer, 9)                                                                                \
    X(clRetainContext, 1)                                                                                    \
    X(clCreateContextFromType, 5)                                                                            \
    X(clRetainProgram, 1)                                                                                    \
    X(clEnqueueCopyImage, 9)                                                                                 \
    X(clCreateProgramWithSource, 5)                                                                          \
    X(clGetMemObjectInfo, 5)                                                                                 \
    X(clLinkProgram, 9)                                                                                      \
    X(clCreateSamplerWithProperties, 3)                                                                      \
    X(clRetainSampler, 1)                                                                                    \
    X(clEnqueueMapImage, 12)                                                                                 \
    X(clEnqueueWriteBuffer, 9)                                                                               \
    X(clRetainKernel, 1)                                                                                     \
    X(clEnqueueReadBufferRect, 14)                                                                           \
    X(clCreateSubDevices, 5)                                                                                 \
    X(clGetDeviceAndHostTimer, 3)                                                                            \
    X(clFinish, 1)                                                                                           \
    X(clGetEventInfo, 5)                                                                                     \
    X(clGetEventProfilingInfo, 5)                                                                            \
    X(clSetKernelArgSVMPointer, 3)                                                                           \
    X(clCreateImage, 6)                                                                                      \
    X(clEnqueueSVMMemcpy, 8)                                                                                 \
    X(clReleaseKernel, 1)                                                                                    \
    X(clEnqueueNativeKernel, 10)                                                                             \
    X(clCreateKernelsInProgram, 4)                                                                           \
    X(clGetDeviceInfo, 5)                                                                                    \
    X(clEnqueueNDRangeKernel, 9)                                                                             \
    X(clReleaseProgram, 1)                                                                                   \
    X(clSetDefaultDeviceCommandQueue, 3)                                                                     \
    X(clCreatePipe, 6)                                                                                       \
    X(clGetPlatformInfo, 5)                                                                                  \
    X(clEnqueueReadBuffer, 9)                                                                                \
    X(clSetMemObjectDestructorCallback, 3)                                                                   \
    X(clGetKernelSubGroupInfo, 8)                                                                            \
    X(clEnqueueCopyBufferRect, 13)                                                                           \
    X(clWaitForEvents, 2)                                                                                    \
    X(clEnqueueSVMMigrateMem, 8)                                                                             \
    X(clReleaseMemObject, 1)                                                                                 \
    X(clCreateProgramWithBuiltInKernels, 5)                                                                  \
    X(clCreateBuffer, 5)                                                                                     \
    X(clGetProgramBuildInfo, 6)                                                                              \
    X(clEnqueueFillBuffer, 9)                                                                                \
    X(clEnqueueReadImage, 11)                                                                                \
    X(clEnqueueCopyBufferToImage, 9)                                                                         \
    X(clGetExtensionFunctionAddressForPlatform, 2)                                                           \
    X(clSetKernelArg, 4)                                                                                     \
    X(clReleaseDevice, 1)                                                                                    \
    X(clCreateSubBuffer, 5)                                                                                  \
    X(clEnqueueFillImage, 8)                                                                                 \
    X(clGetPipeInfo, 5)                                                                                      \
    X(clEnqueueSVMMemFill, 8)                                                                                \
    X(clEnqueueSVMFree, 8)                                                                                   \
    X(clEnqueueMigrateMemObjects, 7)                                                                         \
    X(clGetCommandQueueInfo, 5)                                                                              \
    X(clBuildProgram, 6)                                                                                     \
    X(clGetKernelWorkGroupInfo, 6)                                                                           \
    X(clReleaseEvent, 1)                                                                                     \
    X(clRetainDevice, 1)                                                                                     \
    X(clEnqueueSVMMap, 8)                                                                                    \
    X(clRetainMemObject, 1)                                                                                  \
    X(clSetUserEventStatus, 2)                                                                               \
    X(clCreateUserEvent, 2)                                                                                  \
    X(clGetSamplerInfo, 5)                                                                                   \
    X(clSetKernelExecInfo, 4)                                                                                \
    X(clCreateKernel, 3)                                                                                     \
    X(clGetProgramInfo, 5)                                                                                   \
    X(clSVMAlloc, 4)                                                                                         \
    X(clRetainEvent, 1)                                                                                      \
    X(clCloneKernel, 2)                                                                                      \
    X(clGetImageInfo, 5)                                                                                     \
    X(clFlush, 1)                                                                                            \
    X(clEnqueueMarkerWithWaitList, 4)                                                                        \
    X(clCreateProgramWithIL, 4)                                                                              \
    X(clSVMFree, 2)

extern "C" {
#define QTX_CL_DECLARE(name, n_parameters)                                                                   \
    QTX_STATS_EXPORT extern decltype(&name) qtx_fp_##name;                                                   \
    QTX_STATS_EXPORT decltype(name) qtx_##name;
QTX_CL_ENTRIES(QTX_CL_DECLARE)
#undef QTX_CL_DECLARE
}
