/**
 * \file interop.h
 * \brief Interop objects of the OpenMP offload run-time: the entries that read them, and an API that makes
 * them.
 *
 * All functions are safe to call from any thread. An object owns none of the handles in it.
 */
#ifndef OMPTARGET_INTEROP_H
#define OMPTARGET_INTEROP_H

#include <stddef.h>
#include <stdint.h>

#define OMPTARGET_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** \brief The foreign run-times, as property ::OMPTARGET_FR_ID names them. */
enum { OMPTARGET_FR_OPENCL = 3, OMPTARGET_FR_SYCL = 4, OMPTARGET_FR_BASALT = 6 };

/** \brief Kinds of back end, as the 32-bit integer of ::OMPTARGET_BACKEND_KIND names them. */
enum { OMPTARGET_KIND_OPENCL = 1, OMPTARGET_KIND_BASALT = 2 };

/** \brief Properties. The first and the last are read with omp_get_interop_int, the others as pointers. */
enum {
    OMPTARGET_FR_ID = -1,
    OMPTARGET_NOWAIT = 2,       /**< address of a byte, 1 if the program does not wait */
    OMPTARGET_COMPLETION = 4,   /**< routine void (*)(void* interop) to call when the work is over */
    OMPTARGET_QUEUE = 5,        /**< native queue; for SYCL the address of a sycl::queue */
    OMPTARGET_PLATFORM = 6,     /**< native platform; for OpenCL the cl_context */
    OMPTARGET_DEVICE = 7,       /**< native device */
    OMPTARGET_BACKEND_KIND = 8, /**< address of a 32-bit kind of back end */
    OMPTARGET_CONTEXT = 9,      /**< native context */
    OMPTARGET_IMMEDIATE = 10    /**< not 0 if the basalt queue is an immediate command list */
};

/** \brief Return codes of the omp_get_interop_* entries. */
enum {
    OMPTARGET_RC_NO_VALUE = 1,
    OMPTARGET_RC_SUCCESS = 0,
    OMPTARGET_RC_EMPTY = -1,
    OMPTARGET_RC_OUT_OF_RANGE = -2
};

/** \name The entries of the run-time */
/**@{*/
/** \brief Stores a pointer property. Returns 0, or another status with no promise about \p value. */
OMPTARGET_API int __tgt_get_interop_property(void* interop, int property, void** value);
/** \brief An integer property; \p code, unless null, receives one of OMPTARGET_RC_*. */
OMPTARGET_API intptr_t omp_get_interop_int(void* interop, int property, int* code);
/** \brief OpenMP's own pointer properties: -6 platform, -7 device, -8 context, -9 queue. */
OMPTARGET_API void* omp_get_interop_ptr(void* interop, int property, int* code);
/** \brief OpenMP's own texts: -2 name of the foreign run-time, -4 name of the vendor. */
OMPTARGET_API const char* omp_get_interop_str(void* interop, int property, int* code);
/**@}*/

typedef struct omptarget_interop_s* omptarget_interop_t;

/** \name Making interop objects. Null when memory is out. An object must outlive its completion. */
/**@{*/
OMPTARGET_API omptarget_interop_t omptarget_interop_create_opencl(void* device, void* context, void* queue);
/** \param queue address of a sycl::queue, which must outlive the object */
OMPTARGET_API omptarget_interop_t omptarget_interop_create_sycl(void* queue);
OMPTARGET_API omptarget_interop_t omptarget_interop_create_basalt(void* platform, void* device, void* context,
                                                                  void* queue, int is_command_list);
OMPTARGET_API void omptarget_interop_destroy(omptarget_interop_t interop);
/**@}*/

/** \brief Makes the object's program one that does not wait, or one that does; new objects wait. */
OMPTARGET_API void omptarget_interop_set_nowait(omptarget_interop_t interop, int nowait);
/** \brief How often the completion routine has been called. */
OMPTARGET_API unsigned omptarget_interop_completions(omptarget_interop_t interop);
/** \brief Blocks until \p count calls of the completion routine have come. Returns 0 if \p timeout_ms passed
 * first. */
OMPTARGET_API int omptarget_interop_wait(omptarget_interop_t interop, unsigned count, unsigned timeout_ms);

/** \name Tools for tests: any value for any property, reads that fail, what was read */
/**@{*/
OMPTARGET_API void omptarget_interop_set_pointer(omptarget_interop_t interop, int property, void* value);
OMPTARGET_API void omptarget_interop_set_int(omptarget_interop_t interop, int property, intptr_t value);
/**
 * \brief Makes reads of a property, as pointer or integer, end with \p status; 0 lets them succeed again. The value is
 * given all the same: a reader has to go by the status.
 */
OMPTARGET_API void omptarget_interop_fail(omptarget_interop_t interop, int property, int status);
/** \brief The first properties read (1024 are kept), oldest first, at most \p capacity; returns how many are
 * kept. */
OMPTARGET_API size_t omptarget_interop_reads(omptarget_interop_t interop, int* properties, size_t capacity);
/**@}*/

#ifdef __cplusplus
}
#endif

#endif
