/**
 * \file basalt.h
 * \brief Driver interface of the software GPU.
 *
 * A small C API in the manner of a GPU driver: platforms hold devices, contexts hold memory, command queues
 * and immediate command lists run kernels and copies, events tell of their completion. Kernels are
 * host-compiled functions: a work-group runs on one thread of the device's pool, its work-items as fibers of
 * that thread.
 *
 * Every function returns a bs_result_t unless told otherwise, is safe to call from any thread, and leaves its
 * output arguments untouched when it fails. bs_last_error() gives words to the calling thread's last failure.
 */
#ifndef BASALT_BASALT_H
#define BASALT_BASALT_H

#include <stddef.h>
#include <stdint.h>

#define BS_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _bs_platform_handle_t* bs_platform_handle_t;
typedef struct _bs_device_handle_t* bs_device_handle_t;
typedef struct _bs_context_handle_t* bs_context_handle_t;
typedef struct _bs_command_queue_handle_t* bs_command_queue_handle_t;
typedef struct _bs_command_list_handle_t* bs_command_list_handle_t;
typedef struct _bs_event_handle_t* bs_event_handle_t;

typedef enum bs_result_t {
    BS_SUCCESS = 0,
    BS_NOT_READY = 1,               /**< an event that has not completed yet */
    BS_ERROR_INVALID_ARGUMENT = -1, /**< null handle or output, or a value outside the documented range */
    BS_ERROR_INVALID_CONFIG =
        -2, /**< BASALT_DEVICES cannot be read; bs_last_error() quotes the faulty word */
    BS_ERROR_OUT_OF_MEMORY = -3,
    BS_ERROR_LIMIT_EXCEEDED = -4, /**< work-group size or local memory above the device's limit */
    BS_ERROR_KERNEL_FAILED = -5   /**< a kernel threw, or its work-items met in different collectives */
} bs_result_t;

typedef enum bs_device_type_t {
    BS_DEVICE_GPU = 1,
    BS_DEVICE_ACCELERATOR = 2,
    BS_DEVICE_CPU = 3
} bs_device_type_t;

/** \brief What a device is and what it can do. Names are copied. */
typedef struct bs_device_desc_t {
    bs_device_type_t type;
    char name[128];             /**< zero-terminated; empty: a name made from the properties */
    size_t max_work_group_size; /**< 1 to 4096 (64 in a build for the thread sanitizer) */
    size_t local_memory_bytes;  /**< per work-group */
    uint32_t n_threads;         /**< worker threads; 0: one per processor */
    uint32_t launch_delay_us;   /**< added before every kernel, to make a slow device */
    uint8_t fp64;               /**< 1: the device has 64-bit floating point */
} bs_device_desc_t;

/** \brief Fills \p desc with the defaults: a GPU, 1024 work-items, 65536 bytes of local memory, fp64, no
 * delay. */
BS_API void bs_device_desc_init(bs_device_desc_t* desc);

/** \brief Words for the calling thread's last failure; never null, valid until its next failing call. */
BS_API const char* bs_last_error(void);

/* ---------------------------------------------------------------------------------------------------------------
 * Platforms and devices. They live to the end of the process.
 *
 * The driver has one platform. Its first devices come from the environment variable BASALT_DEVICES, read
 * once: a list separated by ';', each entry a type (gpu, accelerator or cpu) and, after ':', properties
 * separated by ',': wg=N, local=BYTES, fp64=0|1, threads=N, delay=MICROSECONDS, name=TEXT. Without the
 * variable there is one default GPU.
 */

BS_API bs_result_t bs_platform_get(bs_platform_handle_t* platform);

/** \brief Number of devices, configured ones first, in order of their making. */
BS_API bs_result_t bs_device_count(bs_platform_handle_t platform, uint32_t* count);
BS_API bs_result_t bs_device_get(bs_platform_handle_t platform, uint32_t index, bs_device_handle_t* device);

/** \brief Adds a device to the platform's list. */
BS_API bs_result_t bs_device_add(bs_platform_handle_t platform, const bs_device_desc_t* desc,
                                 bs_device_handle_t* device);

/** \brief Makes a device that no list shows: the executor of a run-time's own CPU device. */
BS_API bs_result_t bs_device_add_hidden(bs_platform_handle_t platform, const bs_device_desc_t* desc,
                                        bs_device_handle_t* device);

BS_API bs_result_t bs_device_get_desc(bs_device_handle_t device, bs_device_desc_t* desc);
BS_API bs_result_t bs_device_get_platform(bs_device_handle_t device, bs_platform_handle_t* platform);

/**
 * \brief Holds a device: no command starts until as many releases as holds have come. Commands already
 * running go on. A tool for tests that must see what is not finished yet.
 */
BS_API bs_result_t bs_device_hold(bs_device_handle_t device);
BS_API bs_result_t bs_device_release(bs_device_handle_t device);

/* ---------------------------------------------------------------------------------------------------------------
 * Contexts and memory.
 */

BS_API bs_result_t bs_context_create(bs_platform_handle_t platform, uint32_t n_devices,
                                     const bs_device_handle_t* devices, bs_context_handle_t* context);
/** \brief Destroys a context. Its memory must have been freed and its queues destroyed: otherwise refused. */
BS_API bs_result_t bs_context_destroy(bs_context_handle_t context);

typedef enum bs_memory_type_t {
    BS_MEMORY_UNKNOWN = 0,
    BS_MEMORY_DEVICE = 1,
    BS_MEMORY_HOST = 2,
    BS_MEMORY_SHARED = 3
} bs_memory_type_t;

/**
 * \brief Allocates exactly \p bytes (at least 1) of device memory; \p alignment is a power of two or 0
 * for 64. The memory is addressable by the host in this implementation; programs must not rely on that for
 * device memory. Host memory belongs to no device, and \p device is not looked at.
 */
BS_API bs_result_t bs_mem_alloc(bs_context_handle_t context, bs_device_handle_t device, bs_memory_type_t type,
                                size_t bytes, size_t alignment, void** memory);
/** \brief Frees memory; a null pointer is accepted. The caller knows that no command uses it. */
BS_API bs_result_t bs_mem_free(bs_context_handle_t context, void* memory);
/** \brief Type, device and base of the allocation that holds \p memory; BS_MEMORY_UNKNOWN for a foreign
 * pointer. */
BS_API bs_result_t bs_mem_query(bs_context_handle_t context, const void* memory, bs_memory_type_t* type,
                                bs_device_handle_t* device, void** base);

/* ---------------------------------------------------------------------------------------------------------------
 * Events. Reference counted: created with one reference. An event given to a command as its signal is
 * completed by that command alone. One whose last reference goes before it has completed completes with an
 * error.
 */

BS_API bs_result_t bs_event_create(bs_event_handle_t* event);
BS_API bs_result_t bs_event_retain(bs_event_handle_t event);
BS_API bs_result_t bs_event_destroy(bs_event_handle_t event);
/** \brief Completes an event from the host, with BS_SUCCESS or an error status. Refused on a completed event.
 */
BS_API bs_result_t bs_event_signal(bs_event_handle_t event, bs_result_t status);
/** \brief BS_NOT_READY, or the status with which the event completed. */
BS_API bs_result_t bs_event_query(bs_event_handle_t event);
/** \brief Blocks until the event has completed and returns the status with which it did. */
BS_API bs_result_t bs_event_wait(bs_event_handle_t event);
/**
 * \brief Calls \p callback(\p user, status, message) once when the event completes, at once if it already
 * has; on a thread of the driver otherwise. The message is empty on success and valid during the callback.
 * Callbacks of one event run in the order of their registration. A callback must not block on work of a
 * device: it may be running on the thread that would do it.
 */
typedef void (*bs_event_callback_t)(void* user, bs_result_t status, const char* message);
BS_API bs_result_t bs_event_set_callback(bs_event_handle_t event, bs_event_callback_t callback, void* user);

/* ---------------------------------------------------------------------------------------------------------------
 * Queues and commands. A command starts when its wait events have completed; a failed one fails it. With
 * in_order a command starts after the one before it on the same queue has completed, otherwise commands may
 * overlap.
 */

BS_API bs_result_t bs_command_queue_create(bs_context_handle_t context, bs_device_handle_t device,
                                           uint8_t in_order, bs_command_queue_handle_t* queue);
/** \brief Destroys a queue after its commands have completed; blocks until then. */
BS_API bs_result_t bs_command_queue_destroy(bs_command_queue_handle_t queue);
/** \brief Blocks until all commands submitted so far have completed. Their events tell how each ended. */
BS_API bs_result_t bs_command_queue_synchronize(bs_command_queue_handle_t queue);
BS_API bs_result_t bs_command_queue_get_context(bs_command_queue_handle_t queue, bs_context_handle_t* context,
                                                bs_device_handle_t* device);

/** \brief An immediate command list: what is appended runs at once, without a queue of the caller's. */
BS_API bs_result_t bs_command_list_create_immediate(bs_context_handle_t context, bs_device_handle_t device,
                                                    uint8_t in_order, bs_command_list_handle_t* list);
BS_API bs_result_t bs_command_list_destroy(bs_command_list_handle_t list);
BS_API bs_result_t bs_command_list_synchronize(bs_command_list_handle_t list);
BS_API bs_result_t bs_command_list_get_context(bs_command_list_handle_t list, bs_context_handle_t* context,
                                               bs_device_handle_t* device);

/** \brief What a work-item knows of itself; handed to the kernel, read only. */
typedef struct bs_work_item_t {
    size_t local_id;
    size_t group_id;
    size_t local_size;
    size_t n_groups;
    void* group; /**< the running group, for the collectives */
} bs_work_item_t;

/**
 * \brief A kernel launch of \p n_groups groups of \p local_size work-items.
 *
 * Each worker thread that takes part makes one instance before its first group and drops it after its last:
 * the instance is where pointers to the thread's own local memory are kept. run_item is called once for every
 * work-item. The argument must live until the command has completed.
 */
typedef struct bs_kernel_t {
    const char* name; /**< for messages; must live as long as the command */
    void (*run_item)(void* instance, const bs_work_item_t* item);
    void* (*make_instance)(void* argument, void* local_memory); /**< may throw: the launch fails */
    void (*drop_instance)(void* instance);                      /**< must not throw */
    void* argument;
    size_t n_groups;           /**< 0 is a launch without work */
    size_t local_size;         /**< at least 1 */
    size_t local_memory_bytes; /**< exactly this much is allocated, aligned to 64 */
} bs_kernel_t;

/** \brief Work of a kernel, a copy or a fill, or nothing but its waits. Exactly one of the first three may be
 * set. */
typedef struct bs_command_t {
    const bs_kernel_t* kernel; /**< copied */
    struct {
        void* target;
        const void* source;
        size_t bytes;
    } copy; /**< used if target is not null */
    struct {
        void* target;
        unsigned char pattern[16];
        size_t pattern_bytes; /**< 1, 2, 4, 8 or 16 */
        size_t count;
    } fill; /**< used if target is not null */
    uint32_t n_waits;
    const bs_event_handle_t* waits;
    bs_event_handle_t signal; /**< completed with the command; may be null */
    /** Called as by bs_event_set_callback() when the command completes; may be null. */
    bs_event_callback_t callback;
    void* user; /**< for the callback */
} bs_command_t;

/** \brief Takes a command, or refuses it: then nothing has happened, and its callback will not be called. */
BS_API bs_result_t bs_command_queue_submit(bs_command_queue_handle_t queue, const bs_command_t* command);
BS_API bs_result_t bs_command_list_append(bs_command_list_handle_t list, const bs_command_t* command);

/* ---------------------------------------------------------------------------------------------------------------
 * Collectives, called by kernels. Every work-item of the group must call the same ones in the same order; a
 * group whose work-items do not is stopped and its launch fails with BS_ERROR_KERNEL_FAILED.
 * The work-items of a stopped group leave their collectives by a C++ exception, which kernels must let pass.
 * A kernel must not call a collective while an exception of its own unwinds it.
 */

/** \brief All work-items of the group meet. */
BS_API void bs_group_barrier(const bs_work_item_t* item);

/**
 * \brief All work-items contribute \p bytes (at most 64); the last to arrive calls
 * combine(values, count, result) on the packed contributions in order of local id, and every work-item
 * receives the result. combine may use the values as working storage. It takes local memory as on a hardware device: a
 * value for each work-item and for up to 32 of them one more. The launch fails if the kernel leaves too little.
 */
typedef void (*bs_combine_t)(void* values, size_t count, void* result);
BS_API void bs_group_combine(const bs_work_item_t* item, const void* value, size_t bytes,
                             bs_combine_t combine, void* result);

/**
 * \brief Begins a copy by the group of \p count elements of \p bytes each, source elements \p source_stride
 * and target elements \p target_stride elements apart. Nothing is copied before bs_group_wait_copy() returns
 * for the first work-item. The result is the copy's number, the same for all work-items of the group.
 */
BS_API uint64_t bs_group_copy(const bs_work_item_t* item, void* target, const void* source, size_t bytes,
                              size_t count, size_t target_stride, size_t source_stride);
/** \brief Completes a copy; the first work-item to come performs it. Not a barrier. */
BS_API void bs_group_wait_copy(const bs_work_item_t* item, uint64_t copy);

#ifdef __cplusplus
}
#endif

#endif
