/**
 * What a shared object with device images tells the run-time, at load and at unload. DEVICE_IMAGE_LIST is the
 * list of its images, written by the build: IMAGE(number, entry name, 1 if it computes in double, number of
 * arguments, bytes of the first argument).
 */
#include <sycl/aspects.hpp>
#include <sycl/detail/device_image.hpp>

#include <cstdint>
#include <iterator>

namespace {

using namespace sycl::detail;
using namespace sycl::detail::image_properties;

/// Members of the one device family that knows the option choose the size of their register file themselves.
constexpr char compile_options[] = "-bs-register-file=auto";
constexpr std::uint32_t optimisation = 2;

constexpr std::uint32_t fp64_aspect[] = {static_cast<std::uint32_t>(sycl::aspect::fp64)};

/// Bits of kernels with up to 8 arguments, behind their number; none is ever dropped.
struct argument_bits {
    std::uint64_t n_arguments;
    std::uint8_t dropped;
};
constexpr std::uint64_t argument_bits_size = sizeof(std::uint64_t) + sizeof(std::uint8_t);

constexpr image_property number(const char* name, std::uint32_t value) {
    return {name, nullptr, property_type::number, value, 0};
}
constexpr image_property bytes(const char* name, const void* data, std::uint64_t size) {
    return {name, data, property_type::bytes, 0, size};
}

constexpr image_property library_properties[] = {number(device_library_mask, 0)};
constexpr image_property miscellaneous_properties[] = {number(optimisation_level, optimisation)};
constexpr image_property requirements[2][1] = {{bytes(aspects, nullptr, 0)},
                                               {bytes(aspects, fp64_aspect, sizeof fp64_aspect)}};

template <std::size_t n>
constexpr image_property_set set(const char* name, const image_property (&properties)[n]) {
    return {name, properties, properties + n};
}

extern "C" {
#define IMAGE(NUMBER, ENTRY, FP64, N_ARGUMENTS, BYTES)                                                       \
    __attribute__((visibility("hidden"))) extern const unsigned char device_image_##NUMBER[];                \
    __attribute__((visibility("hidden"))) extern const unsigned char device_image_end_##NUMBER[];
#include DEVICE_IMAGE_LIST
#undef IMAGE
}

#define IMAGE(NUMBER, ENTRY, FP64, N_ARGUMENTS, BYTES)                                                       \
    static_assert((N_ARGUMENTS) <= 8);                                                                       \
    constexpr image_entry entry_##NUMBER[] = {{ENTRY, BYTES}};                                               \
    constexpr argument_bits arguments_##NUMBER{N_ARGUMENTS, 0};                                              \
    constexpr image_property dropped_##NUMBER[] = {bytes(ENTRY, &arguments_##NUMBER, argument_bits_size)};   \
    constexpr image_property_set sets_##NUMBER[] = {                                                         \
        set(device_library_set, library_properties), set(requirement_set, requirements[FP64]),               \
        set(dropped_argument_set, dropped_##NUMBER), set(miscellaneous_set, miscellaneous_properties)};
#include DEVICE_IMAGE_LIST
#undef IMAGE

#define IMAGE(NUMBER, ENTRY, FP64, N_ARGUMENTS, BYTES)                                                       \
    {device_image_version,                                                                                   \
     "spir64",                                                                                               \
     compile_options,                                                                                        \
     "",                                                                                                     \
     device_image_##NUMBER,                                                                                  \
     device_image_end_##NUMBER,                                                                              \
     std::begin(entry_##NUMBER),                                                                             \
     std::end(entry_##NUMBER),                                                                               \
     std::begin(sets_##NUMBER),                                                                              \
     std::end(sets_##NUMBER)},
constexpr device_image images[] = {
#include DEVICE_IMAGE_LIST
};
#undef IMAGE

constexpr image_descriptor descriptor{image_descriptor_version, std::size(images), images, nullptr, nullptr};

// The lowest priority that programs may use: first at load and last at unload, behind the destructors of
// whatever holds objects of the run-time.
constexpr int first_and_last = 101;

__attribute__((constructor(first_and_last))) void register_images() __asm__("sycl.descriptor_reg");
void register_images() {
    __sycl_register_lib(&descriptor);
}

__attribute__((destructor(first_and_last))) void unregister_images() __asm__("sycl.descriptor_unreg");
void unregister_images() {
    __sycl_unregister_lib(&descriptor);
}

} // namespace
