#include <qtx_services.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int qtx_serv_fprintf_s(FILE* stream, const char* format, ...) {
    if (stream == nullptr || format == nullptr) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vfprintf(stream, format, arguments);
    va_end(arguments);
    return written;
}

void qtx_serv_print(int kind, int message, int n_arguments, ...) {
    const int reason = errno;
    va_list arguments;
    va_start(arguments, n_arguments);
    const char* const text = n_arguments > 0 ? va_arg(arguments, const char*) : "";
    va_end(arguments);
    if (kind == 0 && message == 3) {
        std::fprintf(stderr, "qtx: %s is missing: its library cannot be loaded, or lacks this entry\n", text);
    } else if (kind == 1 && message == 1) {
        std::fprintf(stderr, "qtx: the working directory cannot be read while %s is being loaded: %s\n", text,
                     std::strerror(reason));
    } else {
        std::fprintf(stderr, "qtx: message %d.%d %s\n", kind, message, text);
    }
}

void qtx_serv_exit(int code) {
    std::fflush(nullptr);
    std::_Exit(code);
}

void qtx_serv_iface_exit(int code) {
    std::fprintf(stderr, "qtx: the process ends with status %d\n", code);
    qtx_serv_exit(code);
}
