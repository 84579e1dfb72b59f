#include "qtx_cl_init.hpp"

#include "entry_pointer.hpp"
#include "load_once.hpp"
#include "qtx_cl_entries.hpp"
#include "qtx_omp_wrappers.hpp"

#include <cstring>

#include <dlfcn.h>
#include <unistd.h>

namespace gpu = aurelo::qtx::gpu;

char DispLibPath[qtx_path_size];
char EXEPath[qtx_path_size];
char DispLibCWD[qtx_path_size];

namespace {

bool same_path(const char* a, const char* b) {
    const std::size_t length = qtx_serv_strnlen_s(a, qtx_path_size);
    return length == qtx_serv_strnlen_s(b, qtx_path_size) && std::memcmp(a, b, length) == 0;
}

void* open_with_search(char* name) {
    if (void* const library = QTXLoadLibrary(name, DispLibPath)) {
        return library;
    }
    if (!same_path(DispLibPath, EXEPath)) {
        if (void* const library = QTXLoadLibrary(name, EXEPath)) {
            return library;
        }
    }
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (void* const library = dlopen(name, RTLD_LAZY | RTLD_GLOBAL)) {
            return library;
        }
    }
    return nullptr;
}

void* open_opencl() {
    char name[] = "libOpenCL.so.1";
    return qtx_serv_libc_is_static() != 0 ? dlopen(name, RTLD_LAZY | RTLD_GLOBAL) : open_with_search(name);
}

bool resolve_entries(void* library) {
#define QTX_CL_RESOLVE(name, n_parameters) &&gpu::resolve(library, #name, qtx_fp_##name)
    return true QTX_CL_ENTRIES(QTX_CL_RESOLVE);
#undef QTX_CL_RESOLVE
}

} // namespace

void* QTXLoadLibrary(char* name, char* path) {
    if (std::strchr(name, '/') != nullptr) {
        return nullptr;
    }
    char file[qtx_path_size] = {};
    qtx_serv_strncpy_s(file, qtx_path_size, path, qtx_path_size - 1);
    qtx_serv_strncat_s(file, qtx_path_size, name, qtx_path_size);
    return dlopen(file, RTLD_LAZY);
}

extern "C" {

std::int32_t qtx_cl_load_lib() {
    static int lock = 0;
    static std::int32_t initialized = 0;
    static std::int32_t status = -1;
    return gpu::load_once(lock, initialized, status, [] {
        void* const library = open_opencl();
        return library != nullptr && resolve_entries(library);
    });
}

std::int32_t qtx_cl_init() {
    if (qtx_cl_load_lib() != 0) {
        return -1;
    }
    return qtx_omp_load_lib() != 0 ? -2 : 0;
}

void _Init_QTX_Loader() {
    Dl_info self{};
    const bool known = dladdr(reinterpret_cast<void*>(&_Init_QTX_Loader), &self) != 0;
    if (getcwd(DispLibCWD, qtx_path_size) == nullptr) {
        qtx_serv_print(1, 1, 1, known ? self.dli_fname : "");
        qtx_serv_iface_exit(2);
        return;
    }
    if (qtx_serv_strnlen_s(DispLibCWD, qtx_path_size) < qtx_path_size - 1) {
        qtx_serv_strncat_s(DispLibCWD, qtx_path_size, "/", qtx_path_size);
    }
}
}
