#include "basic_cases.hpp"

#include "device/estimates/mean_func.hpp"
#include "device/estimates/raw_funcs.hpp"

namespace sweep {

void add_raw(case_list& list) {
    add_public<gpu::mean_func, 1>(list, "mean_func");
    add_public<gpu::raw_sum_func_fast, 4>(list, "raw_sum_func_fast");
    add_offload<gpu::raw_sum_func_fast, 4>(list, "raw_sum_func_fast");
    add_public<gpu::raw_moment_func_fast, 4>(list, "raw_moment_func_fast");
    add_offload<gpu::raw_moment_func_fast, 4>(list, "raw_moment_func_fast");
}

} // namespace sweep
