// The exported functions. Each names its element type and integer width and forwards.
#include "task.hpp"
#include "tsb/summary_statistics.h"

using tsb::element_type;
using tsb::integer_width;
using tsb::result;

int32_t tsbdSSNewTask_64(void** task, const int64_t* dimensions, const int64_t* observations,
                         const int64_t* storage, const double* matrix, const double* weights,
                         const int64_t* mask) {
    return tsb::new_task(task, {element_type::float64, integer_width::bits64, dimensions, observations,
                                storage, matrix, weights, mask});
}

int32_t tsbsSSNewTask_64(void** task, const int64_t* dimensions, const int64_t* observations,
                         const int64_t* storage, const float* matrix, const float* weights,
                         const int64_t* mask) {
    return tsb::new_task(task, {element_type::float32, integer_width::bits64, dimensions, observations,
                                storage, matrix, weights, mask});
}

int32_t tsbdSSNewTask(void** task, const int32_t* dimensions, const int32_t* observations,
                      const int32_t* storage, const double* matrix, const double* weights,
                      const int32_t* mask) {
    return tsb::new_task(task, {element_type::float64, integer_width::bits32, dimensions, observations,
                                storage, matrix, weights, mask});
}

int32_t tsbsSSNewTask(void** task, const int32_t* dimensions, const int32_t* observations,
                      const int32_t* storage, const float* matrix, const float* weights,
                      const int32_t* mask) {
    return tsb::new_task(task, {element_type::float32, integer_width::bits32, dimensions, observations,
                                storage, matrix, weights, mask});
}

int32_t tsbdSSEditTask(void* task, int64_t parameter, double* array) {
    return tsb::edit_task(task, element_type::float64, parameter, array);
}

int32_t tsbsSSEditTask(void* task, int64_t parameter, float* array) {
    return tsb::edit_task(task, element_type::float32, parameter, array);
}

int32_t tsbdSSEditMoments(void* task, double* mean, double* raw2, double* raw3, double* raw4,
                          double* central2, double* central3, double* central4) {
    return tsb::edit_results(task, element_type::float64, result::mean,
                             {mean, raw2, raw3, raw4, central2, central3, central4});
}

int32_t tsbsSSEditMoments(void* task, float* mean, float* raw2, float* raw3, float* raw4, float* central2,
                          float* central3, float* central4) {
    return tsb::edit_results(task, element_type::float32, result::mean,
                             {mean, raw2, raw3, raw4, central2, central3, central4});
}

int32_t tsbdSSEditSums(void* task, double* sum, double* raw_sum2, double* raw_sum3, double* raw_sum4,
                       double* central_sum2, double* central_sum3, double* central_sum4) {
    return tsb::edit_results(task, element_type::float64, result::sum,
                             {sum, raw_sum2, raw_sum3, raw_sum4, central_sum2, central_sum3, central_sum4});
}

int32_t tsbsSSEditSums(void* task, float* sum, float* raw_sum2, float* raw_sum3, float* raw_sum4,
                       float* central_sum2, float* central_sum3, float* central_sum4) {
    return tsb::edit_results(task, element_type::float32, result::sum,
                             {sum, raw_sum2, raw_sum3, raw_sum4, central_sum2, central_sum3, central_sum4});
}

int32_t tsbdSSCompute(void* task, uint64_t estimates, int32_t method) {
    return tsb::compute(task, element_type::float64, estimates, method);
}

int32_t tsbsSSCompute(void* task, uint64_t estimates, int32_t method) {
    return tsb::compute(task, element_type::float32, estimates, method);
}

int32_t tsbSSDeleteTask(void** task) {
    return tsb::delete_task(task);
}
