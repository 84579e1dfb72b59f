#include <qtx_services.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

size_t qtx_serv_strnlen_s(const char* string, size_t bound) {
    return string == nullptr ? 0 : strnlen(string, bound);
}

int qtx_serv_strncpy_s(char* destination, size_t size, const char* source, size_t count) {
    if (destination == nullptr || size == 0) {
        return EINVAL;
    }
    const size_t wanted = qtx_serv_strnlen_s(source, count);
    const size_t copied = std::min(wanted, size - 1);
    if (copied != 0) {
        std::memmove(destination, source, copied);
    }
    destination[copied] = '\0';
    return source == nullptr ? EINVAL : copied < wanted ? ERANGE : 0;
}

int qtx_serv_strncat_s(char* destination, size_t size, const char* source, size_t count) {
    const size_t used = qtx_serv_strnlen_s(destination, size);
    if (destination == nullptr || source == nullptr || used == size) {
        return EINVAL;
    }
    return qtx_serv_strncpy_s(destination + used, size - used, source, count);
}
