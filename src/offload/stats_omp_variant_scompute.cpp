#include "omp_driver.hpp"

#include <stats/omp_offload.h>

using aurelo::qtx::stats::detail::openmp::compute_task;

int qtx_tsb_sSSCompute_omp_offload_ilp64(void* task, unsigned long long estimates, long long method,
                                         void* interop) {
    return compute_task<float, true>(task, estimates, method, interop);
}

int qtx_tsb_sSSCompute_omp_offload_lp64(void* task, unsigned long long estimates, int method, void* interop) {
    return compute_task<float, false>(task, estimates, method, interop);
}

int qtx_tsb_ssscompute_omp_offload(void* const* task, const unsigned long long* estimates,
                                   const long long* method, void* interop) {
    return qtx_tsb_sSSCompute_omp_offload_ilp64(*task, *estimates, *method, interop);
}

int qtx_tsb_ssscompute_omp_offload_lp64(void* const* task, const unsigned long long* estimates,
                                        const int* method, void* interop) {
    return qtx_tsb_sSSCompute_omp_offload_lp64(*task, *estimates, *method, interop);
}
