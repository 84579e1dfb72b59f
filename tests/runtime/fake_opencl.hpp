#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

/// An OpenCL library that runs nothing: it keeps the last call of a thread and returns what it is told to.
struct fake_opencl {
    std::string name;
    std::vector<std::uint64_t> arguments;
    std::uint64_t result = 0;
};

/// The record of the calling thread; exported by the library.
using fake_opencl_state_t = fake_opencl*();

template <typename T>
std::uint64_t to_bits(T value) {
    static_assert(std::is_scalar_v<T>);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

template <typename T>
T from_bits(std::uint64_t bits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
