#pragma once

#include <stddef.h>

/**
 * The plug-in that turns device images into the bitcode of OpenCL implementations that take no SPIR-V. The
 * runtime opens it for such a device only, so that nobody else loads a compiler.
 */
#ifdef __cplusplus
extern "C" {
#endif

typedef void (*sycl_translation_sink)(void* user, const char* bytes, size_t n_bytes);

/**
 * Translates the \p n_bytes of a SPIR-V module. \p result receives the bitcode, or \p error the reason why
 * there is none; one of the two is called once. \p bytes_per_item receives what a launch adds to the kernel's block of
 * local memory for reductions, for each work-item of a group. Returns 0 for success. May be called by several threads.
 */
__attribute__((visibility("default"))) int sycl_translate_image(const unsigned char* image, size_t n_bytes,
                                                                sycl_translation_sink result,
                                                                sycl_translation_sink error, void* user,
                                                                size_t* bytes_per_item);

#ifdef __cplusplus
}
#endif
