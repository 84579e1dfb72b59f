#include "call_setup.hpp"

#include "completion.hpp"
#include "queue_lookup.hpp"
#include "statuses.hpp"

#include "runtime/interop_properties.hpp"

namespace aurelo::qtx::stats::detail::openmp {

namespace {

namespace bridge = aurelo::qtx::gpu;

bool is_nowait(void* interop) {
    const unsigned char* flag = nullptr;
    return bridge::read_property(interop, bridge::interop_property::nowait, flag) && flag != nullptr &&
           *flag != 0;
}

} // namespace

int call_setup::open(void* interop_object) {
    if (qtx_omp_load_lib() != 0) {
        return status_failed;
    }
    interop = interop_object;
    nowait = is_nowait(interop);
    queue = qtx_tb_omp_get_openmp_queue(interop, runtime, error.recorder());
    return runtime == bridge::foreign_runtime::none ? status_failed : TSB_SS_OK;
}

bool call_setup::reaches_usm_pointers() const {
    switch (runtime) {
    case bridge::foreign_runtime::sycl:
    case bridge::foreign_runtime::basalt:
        return true;
    case bridge::foreign_runtime::opencl:
        return qtx_tgt_ocl_use_usm() != 0;
    default:
        return false;
    }
}

work_outcome call_setup::outcome() const {
    return runtime == bridge::foreign_runtime::sycl ? work_outcome::of_callers_queue()
                                                    : work_outcome::of_own_queue(*queue, error);
}

bool call_setup::finish(work_in_flight& work) const {
    if (!nowait) {
        work.wait();
        return true;
    }
    if (!arrange_completion(runtime, work.joined(), work.outcome(), interop)) {
        return false;
    }
    work.hand_over();
    return true;
}

} // namespace aurelo::qtx::stats::detail::openmp
