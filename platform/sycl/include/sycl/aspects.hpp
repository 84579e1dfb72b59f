#pragma once

namespace sycl {

/// Optional features of a device. The values are those of the aspects property of device images.
enum class aspect {
    cpu = 1,
    gpu = 2,
    accelerator = 3,
    custom = 4,
    fp16 = 5,
    fp64 = 6,
    queue_profiling = 12,
    usm_device_allocations = 13,
    usm_host_allocations = 14,
    usm_shared_allocations = 15,
    usm_system_allocations = 17
};

} // namespace sycl
