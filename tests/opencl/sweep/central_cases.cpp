#include "launches.hpp"

#include "device/estimates/central_funcs.hpp"

namespace sweep {

void add_central(case_list& list) {
    add<gpu::central_sum_func_fast, 3, true, false>(list);
    add<gpu::central_moment_func_fast, 3, true, false>(list);
    add<gpu::central_sum_func_user_mean, 3, true, true>(list);
    add<gpu::central_moment_func_user_mean, 3, true, true>(list);
}

} // namespace sweep
