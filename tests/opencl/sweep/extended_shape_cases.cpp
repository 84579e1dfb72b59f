#include "basic_cases.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace sweep {

void add_extended_shapes(case_list& list) {
    add_extended<gpu::ex::variation_func_fast, 3>(list, "variation_func_fast");
    add_extended<gpu::ex::skewness_func_fast, 4>(list, "skewness_func_fast");
    add_extended<gpu::ex::kurtosis_func_fast, 5>(list, "kurtosis_func_fast");
}

} // namespace sweep
