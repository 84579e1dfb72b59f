#include "qtx_omp_wrappers.hpp"

#include "entry_pointer.hpp"
#include "load_once.hpp"

namespace gpu = aurelo::qtx::gpu;

namespace {

/// Reports a missing entry and stops the process; the result counts if the process's services come back.
template <typename Result>
[[gnu::cold]] Result missing(const char* quoted_name, Result result) {
    qtx_serv_print(0, 3, 1, quoted_name);
    qtx_serv_exit(2);
    return result;
}

} // namespace

extern "C" {

int (*qtx_fp_tgt_get_interop_property)(void*, int, void**) = nullptr;
std::intptr_t (*qtx_fp_omp_get_interop_int)(void*, int, int*) = nullptr;
void* (*qtx_fp_omp_get_interop_ptr)(void*, int, int*) = nullptr;
const char* (*qtx_fp_omp_get_interop_str)(void*, int, int*) = nullptr;

std::int32_t qtx_omp_load_lib() {
    static int lock = 0;
    static std::int32_t initialized = 0;
    static std::int32_t status = -1;
    return gpu::load_once(lock, initialized, status, [] {
        void* const library = dlopen("libomptarget.so", RTLD_LAZY | RTLD_GLOBAL);
        return library != nullptr &&
               gpu::resolve(library, "__tgt_get_interop_property", qtx_fp_tgt_get_interop_property) &&
               gpu::resolve(library, "omp_get_interop_int", qtx_fp_omp_get_interop_int) &&
               gpu::resolve(library, "omp_get_interop_ptr", qtx_fp_omp_get_interop_ptr) &&
               gpu::resolve(library, "omp_get_interop_str", qtx_fp_omp_get_interop_str);
    });
}

int qtx_tgt_get_interop_property(void* interop, int property, void** value) {
    return gpu::call_entry(
        qtx_fp_tgt_get_interop_property, qtx_omp_load_lib,
        [] { return missing("'__tgt_get_interop_property'", 1); }, interop, property, value);
}

std::intptr_t qtx_omp_get_interop_int(void* interop, int property, int* code) {
    return gpu::call_entry(
        qtx_fp_omp_get_interop_int, qtx_omp_load_lib,
        [] { return missing<std::intptr_t>("'omp_get_interop_int'", 0); }, interop, property, code);
}

void* qtx_omp_get_interop_ptr(void* interop, int property, int* code) {
    return gpu::call_entry(
        qtx_fp_omp_get_interop_ptr, qtx_omp_load_lib,
        [] { return missing<void*>("'omp_get_interop_ptr'", nullptr); }, interop, property, code);
}

const char* qtx_omp_get_interop_str(void* interop, int property, int* code) {
    return gpu::call_entry(
        qtx_fp_omp_get_interop_str, qtx_omp_load_lib,
        [] { return missing<const char*>("'omp_get_interop_str'", nullptr); }, interop, property, code);
}

int qtx_tgt_ocl_use_usm() {
    char value[10] = {};
    const int found = qtx_serv_getenv("LIBOMPTARGET_OPENCL_USE_SVM", value, sizeof value);
    return found <= 0 || value[0] != '1' ? 1 : 0;
}
}
