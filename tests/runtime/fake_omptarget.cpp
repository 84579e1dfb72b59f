// An offload run-time that tells what it was asked: every result is made from the arguments.
#include <cstdint>

extern "C" {

int __tgt_get_interop_property(void* interop, int property, void** value) {
    *value = static_cast<char*>(interop) + property;
    return 7;
}

std::intptr_t omp_get_interop_int(void* interop, int property, int* code) {
    *code = 8;
    return reinterpret_cast<std::intptr_t>(interop) + property;
}

void* omp_get_interop_ptr(void* interop, int property, int* code) {
    *code = 9;
    return static_cast<char*>(interop) + property;
}

const char* omp_get_interop_str(void* interop, int property, int* code) {
    *code = 10;
    return static_cast<const char*>(interop) + property;
}
}
