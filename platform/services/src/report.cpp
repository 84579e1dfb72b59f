#include <qtx_services.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <stdio_ext.h>
#include <unistd.h>

namespace {

/// Waits at most a second for the reader of a pipe or a terminal, which may never read again.
bool takes_output(int descriptor) {
    pollfd target{descriptor, POLLOUT, 0};
    const timespec second{1, 0};
    sigset_t no_interruption;
    sigfillset(&no_interruption);
    return ppoll(&target, 1, &second, &no_interruption) == 1;
}

/// Writes what the stream holds, unless another thread has its lock: that thread may never give it back.
void flush_if_free(FILE* stream) {
    if (ftrylockfile(stream) != 0) {
        return;
    }
    if (__fpending(stream) != 0 && takes_output(fileno_unlocked(stream))) {
        fflush_unlocked(stream);
    }
    funlockfile(stream);
}

/// Prints one line on standard error past the stream, whose lock another thread may hold for ever.
__attribute__((format(printf, 1, 2))) void report(const char* format, ...) {
    char line[4608]; // a file name and the words around it
    va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    if (wanted <= 0) {
        return;
    }
    std::size_t bytes = static_cast<std::size_t>(wanted);
    if (bytes >= sizeof line) {
        bytes = sizeof line - 1;
        line[bytes - 1] = '\n';
    }
    for (const char* rest = line; bytes != 0 && takes_output(STDERR_FILENO);) {
        const ssize_t written = write(STDERR_FILENO, rest, bytes);
        if (written < 0 && errno != EINTR) {
            return;
        }
        rest += written > 0 ? written : 0;
        bytes -= static_cast<std::size_t>(written > 0 ? written : 0);
    }
}

} // namespace

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
        report("qtx: %s is missing: its library cannot be loaded, or lacks this entry\n", text);
    } else if (kind == 1 && message == 1) {
        const char* const why = strerrordesc_np(reason);
        report("qtx: the working directory cannot be read while %s is being loaded: %s\n", text,
               why == nullptr ? "unknown error" : why);
    } else {
        report("qtx: message %d.%d %s\n", kind, message, text);
    }
}

void qtx_serv_exit(int code) {
    flush_if_free(stdout);
    flush_if_free(stderr);
    std::_Exit(code);
}

void qtx_serv_iface_exit(int code) {
    report("qtx: the process ends with status %d\n", code);
    qtx_serv_exit(code);
}
