// The data and the read limit with C names, for programs of other languages.
#include "read_limit.hpp"
#include "samples.hpp"

extern "C" {

void bench_fill_double(double* data, std::size_t count) {
    peers::fill(data, count);
}

void bench_fill_float(float* data, std::size_t count) {
    peers::fill(data, count);
}

double bench_read(const void* data, std::size_t bytes) {
    return bench::read_memory(data, bytes);
}
}
