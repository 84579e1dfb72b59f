#include <qtx_services.h>

#include <cstdlib>

#include <link.h>

int qtx_serv_getenv(const char* name, char* buffer, int size) {
    if (name == nullptr || buffer == nullptr || size < 1) {
        return -1;
    }
    const char* const value = std::getenv(name);
    const auto room = static_cast<size_t>(size);
    qtx_serv_strncpy_s(buffer, room, value == nullptr ? "" : value, room);
    return static_cast<int>(qtx_serv_strnlen_s(buffer, room));
}

int qtx_serv_libc_is_static() {
    // The program comes first; only one with a shared C library names an interpreter that loads it.
    return dl_iterate_phdr(
               [](dl_phdr_info* program, size_t, void*) {
                   for (int i = 0; i < program->dlpi_phnum; ++i) {
                       if (program->dlpi_phdr[i].p_type == PT_INTERP) {
                           return -1;
                       }
                   }
                   return 1;
               },
               nullptr) == 1;
}
