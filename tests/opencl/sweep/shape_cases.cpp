#include "basic_cases.hpp"

#include "device/estimates/shape_funcs.hpp"

namespace sweep {

void add_shapes(case_list& list) {
    add_public<gpu::variation_func_fast, 1>(list, "variation_func_fast");
    add_public<gpu::skewness_func_fast, 1>(list, "skewness_func_fast");
    add_public<gpu::kurtosis_func_fast, 1>(list, "kurtosis_func_fast");
    add_public<gpu::variation_func_user_mean, 1>(list, "variation_func_user_mean");
    add_offload<gpu::variation_func_user_mean, 1>(list, "variation_func_user_mean");
    add_public<gpu::skewness_func_user_mean, 1>(list, "skewness_func_user_mean");
    add_offload<gpu::skewness_func_user_mean, 1>(list, "skewness_func_user_mean");
    add_public<gpu::kurtosis_func_user_mean, 1>(list, "kurtosis_func_user_mean");
    add_offload<gpu::kurtosis_func_user_mean, 1>(list, "kurtosis_func_user_mean");
}

} // namespace sweep
