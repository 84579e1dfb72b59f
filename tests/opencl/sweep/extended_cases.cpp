#include "launches.hpp"

#include "device/estimates/extended_funcs.hpp"

namespace sweep {

void add_extended(case_list& list) {
    add<gpu::ex::central_sum_func_fast, 7, false, true>(list);
    add<gpu::ex::central_moment_func_fast, 7, false, true>(list);
    add<gpu::ex::variation_func_fast, 3, false, true>(list);
    add<gpu::ex::skewness_func_fast, 4, false, true>(list);
    add<gpu::ex::kurtosis_func_fast, 5, false, true>(list);
}

} // namespace sweep
