#include "launches.hpp"

#include "device/estimates/raw_funcs.hpp"

namespace sweep {

void add_raw(case_list& list) {
    add<gpu::max_func_fast, 1, true, true>(list);
    add<gpu::min_func_fast, 1, true, true>(list);
    add<gpu::min_max_func_fast, 2, true, false>(list);
    add<gpu::mean_func, 1, true, false>(list);
    add<gpu::raw_sum_func_fast, 4, true, true>(list);
    add<gpu::raw_moment_func_fast, 4, true, true>(list);
}

} // namespace sweep
