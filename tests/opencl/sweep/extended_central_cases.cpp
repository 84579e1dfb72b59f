#include "basic_cases.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace sweep {

void add_extended_central(case_list& list) {
    add_extended<gpu::ex::central_sum_func_fast, 7>(list, "central_sum_func_fast");
    add_extended<gpu::ex::central_moment_func_fast, 7>(list, "central_moment_func_fast");
}

} // namespace sweep
