#include <omptarget/interop.h>
#include <stats/omp_offload.h>
#include <sycl/sycl.hpp>
#include <tsb/summary_statistics.h>

#include <cstdint>
#include <cstdio>

// A task of the component on the device of an interop object. The library opens the OpenMP run-time by its name, and
// calls service functions on the way.
int main() {
    sycl::queue queue(sycl::gpu_selector_v);
    double* const values = sycl::malloc_shared<double>(6, queue);
    double* const maxima = sycl::malloc_shared<double>(2, queue);
    for (int i = 0; i < 6; ++i) {
        values[i] = 3 * i;
    }
    const std::int64_t n_dims = 2;
    const std::int64_t n_observations = 3;
    const std::int64_t storage = TSB_SS_STORAGE_BY_OBSERVATION;
    void* task = nullptr;
    int status = tsbdSSNewTask_64(&task, &n_dims, &n_observations, &storage, values, nullptr, nullptr);
    status += tsbdSSEditTask(task, TSB_SS_PARAM_MAX, maxima);

    const omptarget_interop_t interop = omptarget_interop_create_sycl(&queue);
    status += qtx_tsb_dSSCompute_omp_offload_ilp64(task, TSB_SS_EST_MAX, TSB_SS_METHOD_FAST, interop);
    std::printf("offload: %g and %g, status %d\n", maxima[0], maxima[1], status);

    omptarget_interop_destroy(interop);
    tsbSSDeleteTask(&task);
    sycl::free(maxima, queue);
    sycl::free(values, queue);
    return status;
}
