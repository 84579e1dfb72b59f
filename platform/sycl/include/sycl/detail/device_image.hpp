#pragma once

#include <sycl/detail/export.hpp>

#include <cstdint>

/**
 * What a shared object tells the runtime of the device images it carries. Plain records, constant from load
 * to unload; ranges are a first and a behind-last pointer.
 */
namespace sycl::detail {

enum class property_type : std::uint32_t {
    number = 1, ///< `number` holds the value
    bytes = 2   ///< `data` points to `size` bytes
};

struct image_property {
    const char* name;
    const void* data;
    property_type type;
    std::uint32_t number;
    std::uint64_t size;
};

struct image_property_set {
    const char* name;
    const image_property* first;
    const image_property* last;
};

/// A kernel that an image defines.
struct image_entry {
    const char* name;
    std::uint64_t argument_bytes; ///< size of the kernel object, the first argument
};

struct device_image {
    std::uint16_t version; ///< of this record
    const char* target;    ///< "spir64": 64-bit SPIR-V
    const char* compile_options;
    const char* link_options;
    const unsigned char* first; ///< the module
    const unsigned char* last;
    const image_entry* first_entry;
    const image_entry* last_entry;
    const image_property_set* first_property_set;
    const image_property_set* last_property_set;
};

struct image_descriptor {
    std::uint16_t version;
    std::uint16_t n_images;
    const device_image* images;
    const image_entry* first_host_entry; ///< null, as is the last one: kernels are named by their images
    const image_entry* last_host_entry;
};

inline constexpr std::uint16_t image_descriptor_version = 1;
inline constexpr std::uint16_t device_image_version = 1;

/**
 * The names and values of properties. A set "kernel param opt" holds one property per kernel, named as its
 * entry: 8 bytes with the number of arguments, the lowest first, then one bit per argument, set if the device
 * compiler dropped it. "aspects" are 32-bit values of sycl::aspect.
 */
namespace image_properties {
inline constexpr char device_library_set[] = "SYCL/devicelib req mask";
inline constexpr char device_library_mask[] = "DeviceLibReqMask";
inline constexpr char requirement_set[] = "SYCL/device requirements";
inline constexpr char aspects[] = "aspects";
inline constexpr char dropped_argument_set[] = "SYCL/kernel param opt";
inline constexpr char miscellaneous_set[] = "SYCL/misc properties";
inline constexpr char optimisation_level[] = "optLevel";
/// Stands in the module itself, as an OpSourceExtension with the number behind it.
inline constexpr char group_value_bytes[] = "sycl_group_value_bytes=";
} // namespace image_properties

} // namespace sycl::detail

extern "C" {

/// Makes the images known. Called once per load of a shared object, before anything of it runs.
SYCL_EXPORT void __sycl_register_lib(const sycl::detail::image_descriptor* images);
/// Forgets them. No command may use their kernels any more.
SYCL_EXPORT void __sycl_unregister_lib(const sycl::detail::image_descriptor* images);
}
