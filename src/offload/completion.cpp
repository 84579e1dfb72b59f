#include "completion.hpp"

#include "exception_report.hpp"

#include "runtime/interop_properties.hpp"

#include <qtx_services.h>
#include <sycl/interop_opencl.hpp>

#include <cstdio>
#include <thread>

namespace aurelo::qtx::stats::detail::openmp {

namespace {

namespace bridge = aurelo::qtx::gpu;

/// Whether there was a routine to call.
bool call_completion_routine(void* interop) {
    void* routine = nullptr;
    if (!bridge::read_property(interop, bridge::interop_property::completion, routine) ||
        routine == nullptr) {
        return false;
    }
    reinterpret_cast<void (*)(void*)>(routine)(interop);
    return true;
}

void print_no_completion(void* interop) {
    qtx_serv_fprintf_s(stderr, "Qtx Stats: no completion for interop object %p\n", interop);
}

bool complete_by_callback(const sycl::event& last, void* interop) {
    const cl_event native = qtx_tb_omp_get_native(last);
    clRetainEvent(native);
    if (clSetEventCallback(native, CL_COMPLETE, &qtx_tb_omp_cl_callback_completed, interop) == CL_SUCCESS) {
        return true;
    }
    if (native != nullptr) {
        clReleaseEvent(native);
    }
    return false;
}

void complete_by_thread(const sycl::event& last, void* interop) {
    std::thread(
        [](sycl::event e, void* object, void (*completed)(void*)) {
            try {
                e.wait();
                // A program may end once it is told: by then nothing of the SYCL runtime is held here.
                e = sycl::event();
                completed(object);
            } catch (...) {
                print_current_exception();
                print_no_completion(object);
            }
        },
        last, interop, &qtx_tb_omp_bs_callback_completed)
        .detach();
}

} // namespace

bool arrange_completion(int runtime, const sycl::event& last, void* interop) {
    if (runtime == bridge::foreign_runtime::opencl) {
        return complete_by_callback(last, interop);
    }
    complete_by_thread(last, interop);
    return true;
}

// By value, as its callers were compiled.
cl_event qtx_tb_omp_get_native(sycl::event e) { // NOLINT(performance-unnecessary-value-param)
    if (e.get_backend() != sycl::backend::opencl) {
        return nullptr;
    }
    const auto natives = sycl::get_native<sycl::backend::opencl>(e);
    return natives.empty() ? nullptr : natives.front();
}

void CL_CALLBACK qtx_tb_omp_cl_callback_completed(cl_event event, cl_int status, void* interop) {
    if (status != CL_COMPLETE) {
        print_no_completion(interop);
        return;
    }
    // What the routine throws must not enter the threads of OpenCL.
    try {
        if (call_completion_routine(interop)) {
            clReleaseEvent(event);
        }
    } catch (...) {
        print_current_exception();
        print_no_completion(interop);
    }
}

void qtx_tb_omp_bs_callback_completed(void* interop) {
    call_completion_routine(interop);
}

} // namespace aurelo::qtx::stats::detail::openmp
