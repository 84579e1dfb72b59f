// Devices: properties and a scheduler. They live to the end of the process.
#pragma once

#include "scheduler.hpp"

#include <basalt/basalt.h>

namespace basalt {
using device = _bs_device_handle_t;
using platform = _bs_platform_handle_t;
} // namespace basalt

struct _bs_device_handle_t {
public:
    /// \p desc is complete.
    _bs_device_handle_t(bs_platform_handle_t platform, const bs_device_desc_t& desc)
        : platform_(platform), desc_(desc),
          scheduler_(desc.n_threads, std::chrono::microseconds(desc.launch_delay_us)) {}

    bs_platform_handle_t platform() const { return platform_; }
    const bs_device_desc_t& desc() const { return desc_; }
    basalt::scheduler& scheduler() { return scheduler_; }

    /// Throws error(BS_ERROR_LIMIT_EXCEEDED) on a launch that this device cannot run.
    void check(const bs_kernel_t& kernel) const;

private:
    bs_platform_handle_t platform_;
    const bs_device_desc_t desc_;
    basalt::scheduler scheduler_;
};
