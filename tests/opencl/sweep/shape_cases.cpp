#include "launches.hpp"

#include "device/estimates/shape_funcs.hpp"

namespace sweep {

void add_shapes(case_list& list) {
    add<gpu::variation_func_fast, 1, true, false>(list);
    add<gpu::skewness_func_fast, 1, true, false>(list);
    add<gpu::kurtosis_func_fast, 1, true, false>(list);
    add<gpu::variation_func_user_mean, 1, true, true>(list);
    add<gpu::skewness_func_user_mean, 1, true, true>(list);
    add<gpu::kurtosis_func_user_mean, 1, true, true>(list);
}

} // namespace sweep
