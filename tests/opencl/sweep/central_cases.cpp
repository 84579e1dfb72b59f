#include "basic_cases.hpp"

#include "device/estimates/central_funcs.hpp"

namespace sweep {

void add_central(case_list& list) {
    add_public<gpu::central_sum_func_fast, 3>(list, "central_sum_func_fast");
    add_public<gpu::central_moment_func_fast, 3>(list, "central_moment_func_fast");
    add_public<gpu::central_sum_func_user_mean, 3>(list, "central_sum_func_user_mean");
    add_offload<gpu::central_sum_func_user_mean, 3>(list, "central_sum_func_user_mean");
    add_public<gpu::central_moment_func_user_mean, 3>(list, "central_moment_func_user_mean");
    add_offload<gpu::central_moment_func_user_mean, 3>(list, "central_moment_func_user_mean");
}

} // namespace sweep
