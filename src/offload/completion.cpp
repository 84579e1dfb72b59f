#include "completion.hpp"

#include "exception_report.hpp"

#include "runtime/interop_properties.hpp"
#include "runtime/qtx_cl_entries.hpp"

#include <qtx_services.h>
#include <sycl/interop_opencl.hpp>

#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

namespace aurelo::qtx::stats::detail::openmp {

namespace {

namespace bridge = aurelo::qtx::gpu;

using completion_routine = void (*)(void*);

/// Null if the object does not tell.
completion_routine routine_of(void* interop) {
    void* routine = nullptr;
    const bool known = bridge::read_property(interop, bridge::interop_property::completion, routine);
    return known ? reinterpret_cast<completion_routine>(routine) : nullptr;
}

/// Exceptions must not enter the threads of OpenCL or end the process. The routine may end its thread, though.
void call_guarded(completion_routine routine, void* interop) {
    try {
        routine(interop);
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
        print_current_exception();
    }
}

void print_no_completion(void* interop, const char* why) {
    qtx_serv_fprintf_s(stderr, "Qtx Stats: no completion for interop object %p: %s\n", interop, why);
}

/// A library that dlclose() unloads would take the code away that a thread or a callback returns to. An executable that
/// contains this code, whose name is empty, stays anyway.
void keep_library_loaded() {
    static std::atomic<bool> kept = false;
    if (kept) {
        return;
    }
    Dl_info self{};
    link_map* map = nullptr;
    const auto* const here = reinterpret_cast<void*>(&qtx_tb_omp_bs_callback_completed);
    if (dladdr1(here, &self, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) != 0 && *map->l_name != '\0') {
        void* const library = dlopen(map->l_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
        if (library == nullptr) {
            throw std::runtime_error(std::string("the library cannot be kept loaded: ") + dlerror());
        }
        dlclose(library); // which does not unload it any more
    }
    kept = true;
}

/// Some drivers tell a callback the status that it was registered for, whatever the command ended with.
cl_int status_of(cl_event event, cl_int told) {
    cl_int status = told;
    const bool asks = told == CL_COMPLETE && event != nullptr;
    if (asks && qtx_clGetEventInfo(event, CL_EVENT_COMMAND_EXECUTION_STATUS, sizeof status, &status,
                                   nullptr) != CL_SUCCESS) {
        return told;
    }
    return status;
}

bool complete_by_callback(const sycl::event& last, void* interop) {
    const cl_event native = qtx_tb_omp_get_native(last);
    if (clRetainEvent(native) != CL_SUCCESS && native != nullptr) {
        return false; // the callback would release what is not its own
    }
    if (clSetEventCallback(native, CL_COMPLETE, &qtx_tb_omp_cl_callback_completed, interop) == CL_SUCCESS) {
        return true;
    }
    if (native != nullptr) {
        clReleaseEvent(native);
    }
    return false;
}

/// Whether the work succeeded, once it is over. Lets go of everything of the SYCL runtime: a program may end when it is told.
bool await_success(sycl::event last, work_outcome outcome, void* interop) {
    try {
        last.wait();
        outcome.require_success();
        return true;
    } catch (const std::exception& error) {
        print_no_completion(interop, error.what());
    } catch (...) {
        print_no_completion(interop, "the work failed with an exception of unknown type");
    }
    return false;
}

void complete_by_thread(const sycl::event& last, const work_outcome& outcome, void* interop) {
    std::thread(
        [outcome](sycl::event e, void* object, void (*completed)(void*)) mutable {
            if (await_success(std::move(e), std::move(outcome), object)) {
                completed(object);
            }
        },
        last, interop, &qtx_tb_omp_bs_callback_completed)
        .detach();
}

} // namespace

bool arrange_completion(int runtime, const sycl::event& last, const work_outcome& outcome, void* interop) {
    keep_library_loaded();
    if (runtime == bridge::foreign_runtime::opencl) {
        return complete_by_callback(last, interop);
    }
    complete_by_thread(last, outcome, interop);
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

void CL_CALLBACK qtx_tb_omp_cl_callback_completed(cl_event event, cl_int told, void* interop) {
    const cl_int status = status_of(event, told);
    if (status != CL_COMPLETE) {
        qtx_serv_fprintf_s(stderr, "Qtx Stats: no completion for interop object %p: OpenCL status %d\n",
                           interop, status);
        return;
    }
    const completion_routine routine = routine_of(interop);
    if (routine == nullptr) {
        return;
    }
    struct release_at_end {
        ~release_at_end() { clReleaseEvent(event); }
        cl_event event;
    } const guard{event};
    call_guarded(routine, interop);
}

void qtx_tb_omp_bs_callback_completed(void* interop) {
    if (const completion_routine routine = routine_of(interop)) {
        call_guarded(routine, interop);
    }
}

} // namespace aurelo::qtx::stats::detail::openmp
