/**
 * \file qtx_services.h
 * \brief The service functions that a process offers to the libraries in it.
 *
 * Safe to call from any thread and from initialisers of libraries; nothing here throws.
 */
#ifndef QTX_SERVICES_H
#define QTX_SERVICES_H

#include <stddef.h>
#include <stdio.h>

#define QTX_SERV_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** \name Mutual exclusion over a lock word of the caller, 0 before its first use. Not recursive. */
/**@{*/
QTX_SERV_API void qtx_serv_lock(int* lock);
QTX_SERV_API void qtx_serv_unlock(int* lock);
/**@}*/

/** \brief Non-zero when the program is linked statically, its C library included. */
QTX_SERV_API int qtx_serv_libc_is_static(void);

/**
 * \brief Copies the value of an environment variable, at most \p size - 1 characters of it, and a final zero.
 * \return the number of characters copied; 0 with an empty string when the variable is unset or empty; -1
 * with the buffer untouched when an argument is null or \p size is below 1
 */
QTX_SERV_API int qtx_serv_getenv(const char* name, char* buffer, int size);

/** \brief Length of \p string, at most \p bound; 0 for a null pointer. */
QTX_SERV_API size_t qtx_serv_strnlen_s(const char* string, size_t bound);

/**
 * \name Bounded copy and append
 * At most \p count characters of \p source, as many as \p size leaves room for; the result always ends in a
 * zero.
 * \return 0; ERANGE when characters were left out for want of room; EINVAL when a pointer is null, \p
 * size is 0, or \p destination holds no terminated string to append to (nothing is appended then)
 */
/**@{*/
QTX_SERV_API int qtx_serv_strncpy_s(char* destination, size_t size, const char* source, size_t count);
QTX_SERV_API int qtx_serv_strncat_s(char* destination, size_t size, const char* source, size_t count);
/**@}*/

/** \brief As fprintf; -1 when the stream or the format is null. */
QTX_SERV_API int qtx_serv_fprintf_s(FILE* stream, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/**
 * \brief Reports one of the services' own messages on stderr.
 * \param kind 0: run-time libraries; 1: start of a library
 * \param message its number within the kind
 * \param n_arguments how many strings follow
 *
 * The line goes to file descriptor 2 past the stream stderr, whose lock another thread may hold.
 *
 * (0, 3): a run-time library lacks an entry; the string is its quoted name. (1, 1): the working directory
 * cannot be read; the string is the file name of the library being loaded, errno tells why.
 */
QTX_SERV_API void qtx_serv_print(int kind, int message, int n_arguments, ...);

/**
 * \name The end of the process, with status \p code
 * Both stop the process without exit handlers: they are called on threads of other run-times, inside
 * initialisers and with locks held, where handlers would hang. They write out what stdout and stderr have
 * buffered, but wait for nobody: a stream whose lock another thread holds, or whose reader takes nothing for a
 * second, loses its buffer, as do all other streams. The second function serves C interfaces that a program
 * calls directly, and says on standard error that it ended the process.
 */
/**@{*/
QTX_SERV_API void qtx_serv_exit(int code);
QTX_SERV_API void qtx_serv_iface_exit(int code);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
