#pragma once

#include "qtx_omp_wrappers.hpp"

namespace aurelo::qtx::gpu {

/// Pointer properties of an interop object.
enum class interop_property : int {
    nowait = 2,       ///< address of a byte
    completion = 4,   ///< void (*)(void* interop)
    queue = 5,        ///< native queue; of a SYCL object the address of a sycl::queue
    platform = 6,     ///< native platform; of an OpenCL object the native context
    device = 7,       ///< native device
    backend_kind = 8, ///< address of a 32-bit kind
    context = 9       ///< native context
};

/// Integer properties.
enum class interop_int : int {
    foreign_runtime = -1,
    immediate_list = 10 ///< not 0: the native queue of basalt is an immediate command list
};

/// Values of interop_int::foreign_runtime.
namespace foreign_runtime {
constexpr int none = 0;
constexpr int opencl = 3;
constexpr int sycl = 4;
constexpr int basalt = 6;
} // namespace foreign_runtime

/// What interop_property::backend_kind points to.
namespace backend_kind {
constexpr std::int32_t opencl = 1;
constexpr std::int32_t basalt = 2;
} // namespace backend_kind

/// Reads a property into \p value, null before; tells whether the read succeeded.
template <typename T>
bool read_property(void* interop, interop_property property, T*& value) {
    void* read = nullptr;
    const int status = qtx_tgt_get_interop_property(interop, static_cast<int>(property), &read);
    value = static_cast<T*>(read);
    return status == 0;
}

} // namespace aurelo::qtx::gpu
