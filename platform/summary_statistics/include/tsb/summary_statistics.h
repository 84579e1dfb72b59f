/**
 * \file summary_statistics.h
 * \brief C interface of the CPU summary-statistics component.
 *
 * A task names a matrix of dimensions by observations, optional weights and an optional mask over the
 * dimensions. Edit operations register result arrays, one element per dimension; compute fills those that its
 * estimate mask names, in one pass over the matrix, before it returns. `d` operations work on double, `s`
 * operations on float data; float data are summed in double and rounded once, when a result is stored.
 *
 * The order of calls is new task, edits, compute (any number of times), delete. A task holds addresses only:
 * the counts, the storage code and all arrays stay the caller's, must stay valid until the task is deleted,
 * and are read when compute runs. One task is used by one thread at a time; different tasks are independent
 * of each other.
 *
 * Every function returns ::TSB_SS_OK or one of the negative statuses below. A failed call changes nothing: no
 * result array, no task, no output argument.
 *
 * \par Definitions
 * For one dimension, over its observations x with weights w (1 where there are no weights; a weight that is
 * not greater than 0, NaN included, counts as 1), W is the sum of w, W2 the sum of w*w (both the number of
 * observations where there are no weights), m the mean, and F = W / (W*W - W2), which is 1 / (n - 1) without
 * weights:
 * - sum and raw sum k: sum of w*x^k; mean and raw moment k: the same divided by W;
 * - central sum k: sum of w*(x - m)^k; central moment 2: V = F times central sum 2; central moments 3 and 4:
 * the central sum divided by W;
 * - variation: sqrt(V) / m; skewness: (central moment 3) / sqrt(V*V*V); kurtosis: (central moment 4) / (V*V)
 * - 3;
 * - minimum and maximum: over the elements that are numbers. An element that is NaN is passed over wherever
 * it stands; the minimum starts from the largest, the maximum from the lowest finite value of the element
 * type, so that a dimension without a number, or of +inf (for the minimum) or -inf (for the maximum) alone,
 * gives that value.
 *
 * Nothing is tested or clamped: zero variance, a zero mean and one observation give what IEEE-754 gives from
 * these formulas. A NaN or an infinity reaches the results of its own dimension only. A dimension whose mask
 * entry is 0 is left out and its result elements are not touched.
 *
 * \par Reproducibility
 * Results depend on the data, the shape, the layout and the vector width of the processor, and on nothing
 * else: not on the number of threads, not on the addresses, not on which other estimates are computed by the
 * same call, not on whether the method code is 1 or 2, and not on the floating-point environment of the caller. All
 * arithmetic rounds to nearest, keeps denormal numbers and traps nothing; the caller's environment, flags included, is as
 * it was when a call returns.
 *
 * \par Threads and memory
 * A call needs less than 64 KiB of stack. Each thread that computes keeps up to 128 KiB of memory until it ends.
 */
#ifndef TSB_SUMMARY_STATISTICS_H
#define TSB_SUMMARY_STATISTICS_H

#include <stdint.h>

#define TSB_SS_API __attribute__((visibility("default")))

/** \name Storage codes */
/**@{*/
#define TSB_SS_STORAGE_BY_DIMENSION 65536    /**< dimension d, observation i stands at d * observations + i */
#define TSB_SS_STORAGE_BY_OBSERVATION 131072 /**< dimension d, observation i stands at i * dimensions + d */
/**@}*/

/** \name Method codes */
/**@{*/
#define TSB_SS_METHOD_FAST 1        /**< one pass about a provisional shift */
#define TSB_SS_METHOD_STANDARD 2    /**< the same arithmetic and the same bits as ::TSB_SS_METHOD_FAST */
#define TSB_SS_METHOD_USER_MEAN 256 /**< central estimates about the registered mean, which is an input */
/**@}*/

/** \name Parameter codes of the edit operation: which array is registered */
/**@{*/
#define TSB_SS_PARAM_MEAN 7
#define TSB_SS_PARAM_RAW2 8
#define TSB_SS_PARAM_RAW3 9
#define TSB_SS_PARAM_RAW4 10
#define TSB_SS_PARAM_CENTRAL2 11
#define TSB_SS_PARAM_CENTRAL3 12
#define TSB_SS_PARAM_CENTRAL4 13
#define TSB_SS_PARAM_KURTOSIS 14
#define TSB_SS_PARAM_SKEWNESS 15
#define TSB_SS_PARAM_MIN 16
#define TSB_SS_PARAM_MAX 17
#define TSB_SS_PARAM_VARIATION 18
#define TSB_SS_PARAM_OBSERVATIONS 33 /**< the matrix; null is refused */
#define TSB_SS_PARAM_WEIGHTS 34      /**< one weight per observation; null: no weights */
#define TSB_SS_PARAM_SUM 75
#define TSB_SS_PARAM_RAW_SUM2 76
#define TSB_SS_PARAM_RAW_SUM3 77
#define TSB_SS_PARAM_RAW_SUM4 78
#define TSB_SS_PARAM_CENTRAL_SUM2 79
#define TSB_SS_PARAM_CENTRAL_SUM3 80
#define TSB_SS_PARAM_CENTRAL_SUM4 81
/**@}*/

/** \name Estimate mask bits */
/**@{*/
#define TSB_SS_EST_MEAN (UINT64_C(1) << 0)
#define TSB_SS_EST_RAW2 (UINT64_C(1) << 1)
#define TSB_SS_EST_RAW3 (UINT64_C(1) << 2)
#define TSB_SS_EST_RAW4 (UINT64_C(1) << 3)
#define TSB_SS_EST_CENTRAL2 (UINT64_C(1) << 4)
#define TSB_SS_EST_CENTRAL3 (UINT64_C(1) << 5)
#define TSB_SS_EST_CENTRAL4 (UINT64_C(1) << 6)
#define TSB_SS_EST_KURTOSIS (UINT64_C(1) << 7)
#define TSB_SS_EST_SKEWNESS (UINT64_C(1) << 8)
#define TSB_SS_EST_VARIATION (UINT64_C(1) << 9)
#define TSB_SS_EST_MIN (UINT64_C(1) << 10)
#define TSB_SS_EST_MAX (UINT64_C(1) << 11)
#define TSB_SS_EST_SUM (UINT64_C(1) << 25)
#define TSB_SS_EST_RAW_SUM2 (UINT64_C(1) << 26)
#define TSB_SS_EST_RAW_SUM3 (UINT64_C(1) << 27)
#define TSB_SS_EST_RAW_SUM4 (UINT64_C(1) << 28)
#define TSB_SS_EST_CENTRAL_SUM2 (UINT64_C(1) << 29)
#define TSB_SS_EST_CENTRAL_SUM3 (UINT64_C(1) << 30)
#define TSB_SS_EST_CENTRAL_SUM4 (UINT64_C(1) << 31)
/**@}*/

/** \name Statuses */
/**@{*/
#define TSB_SS_OK 0
#define TSB_SS_BAD_DIMENSIONS (-4001)   /**< the count's address is null or the count is below 1 */
#define TSB_SS_BAD_OBSERVATIONS (-4002) /**< likewise, or the matrix would not fit the address space */
#define TSB_SS_BAD_STORAGE (-4003)      /**< the code's address is null or the code is not one of the two */
#define TSB_SS_BAD_TASK (-4004)         /**< a null task, or memory that is no task */
#define TSB_SS_BAD_TYPE (-4005)         /**< a float operation on a double task or the other way round */
#define TSB_SS_NO_MEAN (-4006) /**< from here to -4017 and from -4074 to -4080: the array of a wanted */
#define TSB_SS_NO_RAW2 (-4007) /**< estimate, or the mean that ::TSB_SS_METHOD_USER_MEAN needs, is null */
#define TSB_SS_NO_RAW3 (-4008)
#define TSB_SS_NO_RAW4 (-4009)
#define TSB_SS_NO_CENTRAL2 (-4010)
#define TSB_SS_NO_CENTRAL3 (-4011)
#define TSB_SS_NO_CENTRAL4 (-4012)
#define TSB_SS_NO_KURTOSIS (-4013)
#define TSB_SS_NO_SKEWNESS (-4014)
#define TSB_SS_NO_MIN (-4015)
#define TSB_SS_NO_MAX (-4016)
#define TSB_SS_NO_VARIATION (-4017)
#define TSB_SS_BAD_PARAMETER (-4018) /**< an unknown parameter code */
#define TSB_SS_BAD_ESTIMATES (-4019) /**< the estimate mask has a bit that names no estimate */
#define TSB_SS_NO_MEMORY (-4020)     /**< scratch or the task itself could not be allocated */
#define TSB_SS_BAD_METHOD                                                                                    \
    (-4029) /**< an unknown method code, or one that an estimate of the mask does not have */
#define TSB_SS_NO_OBSERVATIONS (-4032) /**< the matrix is null */
#define TSB_SS_NO_SUM (-4074)
#define TSB_SS_NO_RAW_SUM2 (-4075)
#define TSB_SS_NO_RAW_SUM3 (-4076)
#define TSB_SS_NO_RAW_SUM4 (-4077)
#define TSB_SS_NO_CENTRAL_SUM2 (-4078)
#define TSB_SS_NO_CENTRAL_SUM3 (-4079)
#define TSB_SS_NO_CENTRAL_SUM4 (-4080)
/**@}*/

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \brief Makes a task whose counts, storage code and mask are 64-bit integers.
 * \param[out] task     receives the task; untouched on failure
 * \param dimensions    address of the number of dimensions, at least 1
 * \param observations  address of the number of observations, at least 1
 * \param storage       address of the storage code
 * \param matrix        dimensions * observations elements, placed as the storage code says; not null
 * \param weights       one weight per observation, or null
 * \param mask          one entry per dimension, 0 leaves the dimension out; or null for all dimensions
 * \return ::TSB_SS_OK, ::TSB_SS_BAD_TASK (null \p task), ::TSB_SS_BAD_DIMENSIONS, ::TSB_SS_BAD_OBSERVATIONS,
 *         ::TSB_SS_BAD_STORAGE, ::TSB_SS_NO_OBSERVATIONS or ::TSB_SS_NO_MEMORY
 */
TSB_SS_API int32_t tsbdSSNewTask_64(void** task, const int64_t* dimensions, const int64_t* observations,
                                    const int64_t* storage, const double* matrix, const double* weights,
                                    const int64_t* mask);
/** \brief As tsbdSSNewTask_64(), for float data. */
TSB_SS_API int32_t tsbsSSNewTask_64(void** task, const int64_t* dimensions, const int64_t* observations,
                                    const int64_t* storage, const float* matrix, const float* weights,
                                    const int64_t* mask);
/** \brief As tsbdSSNewTask_64(), with counts, storage code and mask as 32-bit integers. */
TSB_SS_API int32_t tsbdSSNewTask(void** task, const int32_t* dimensions, const int32_t* observations,
                                 const int32_t* storage, const double* matrix, const double* weights,
                                 const int32_t* mask);
/** \brief As tsbdSSNewTask(), for float data. */
TSB_SS_API int32_t tsbsSSNewTask(void** task, const int32_t* dimensions, const int32_t* observations,
                                 const int32_t* storage, const float* matrix, const float* weights,
                                 const int32_t* mask);

/**
 * \brief Registers one array.
 * \param task       a task of the same element type
 * \param parameter  a parameter code
 * \param array      one element per dimension (the matrix and the weights have their own shapes); null: none
 * \return ::TSB_SS_OK, ::TSB_SS_BAD_TASK, ::TSB_SS_BAD_TYPE, ::TSB_SS_BAD_PARAMETER or
 * ::TSB_SS_NO_OBSERVATIONS
 */
TSB_SS_API int32_t tsbdSSEditTask(void* task, int64_t parameter, double* array);
/** \brief As tsbdSSEditTask(), for float data. */
TSB_SS_API int32_t tsbsSSEditTask(void* task, int64_t parameter, float* array);

/**
 * \brief Registers the seven arrays of moments at once; null means none and takes an earlier registration
 * back.
 * \return ::TSB_SS_OK, ::TSB_SS_BAD_TASK or ::TSB_SS_BAD_TYPE
 */
TSB_SS_API int32_t tsbdSSEditMoments(void* task, double* mean, double* raw2, double* raw3, double* raw4,
                                     double* central2, double* central3, double* central4);
/** \brief As tsbdSSEditMoments(), for float data. */
TSB_SS_API int32_t tsbsSSEditMoments(void* task, float* mean, float* raw2, float* raw3, float* raw4,
                                     float* central2, float* central3, float* central4);

/**
 * \brief Registers the seven arrays of sums at once; null means none and takes an earlier registration back.
 * \return ::TSB_SS_OK, ::TSB_SS_BAD_TASK or ::TSB_SS_BAD_TYPE
 */
TSB_SS_API int32_t tsbdSSEditSums(void* task, double* sum, double* raw_sum2, double* raw_sum3,
                                  double* raw_sum4, double* central_sum2, double* central_sum3,
                                  double* central_sum4);
/** \brief As tsbdSSEditSums(), for float data. */
TSB_SS_API int32_t tsbsSSEditSums(void* task, float* sum, float* raw_sum2, float* raw_sum3, float* raw_sum4,
                                  float* central_sum2, float* central_sum3, float* central_sum4);

/**
 * \brief Computes the estimates of the mask into their registered arrays; blocks until they are complete.
 *
 * Only the arrays that the mask names are needed, and only they are written. Large inputs are shared among
 * the threads of an OpenMP team. With ::TSB_SS_METHOD_USER_MEAN the registered mean is read and never
 * written; that method has the central sums, the central moments, variation, skewness and kurtosis only. An
 * empty mask computes nothing.
 * \return ::TSB_SS_OK or the first of: ::TSB_SS_BAD_TASK, ::TSB_SS_BAD_TYPE,
 * ::TSB_SS_BAD_OBSERVATIONS,
 *         ::TSB_SS_BAD_DIMENSIONS, ::TSB_SS_BAD_STORAGE, ::TSB_SS_NO_OBSERVATIONS, ::TSB_SS_BAD_ESTIMATES,
 *         ::TSB_SS_BAD_METHOD, ::TSB_SS_NO_MEAN and its like in the order of their numbers (-4006 first), and
 *         ::TSB_SS_NO_MEMORY
 */
TSB_SS_API int32_t tsbdSSCompute(void* task, uint64_t estimates, int32_t method);
/** \brief As tsbdSSCompute(), for float data. */
TSB_SS_API int32_t tsbsSSCompute(void* task, uint64_t estimates, int32_t method);

/**
 * \brief Releases a task of either type, not its arrays, and sets \p *task to null.
 * \return ::TSB_SS_OK or ::TSB_SS_BAD_TASK
 */
TSB_SS_API int32_t tsbSSDeleteTask(void** task);

#ifdef __cplusplus
}
#endif

#endif
