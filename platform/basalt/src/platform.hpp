// The driver's one platform and its list of devices.
#pragma once

#include "device.hpp"

#include <deque>
#include <memory>
#include <mutex>

struct _bs_platform_handle_t {
public:
    /// Makes the platform with the devices of BASALT_DEVICES on first use. Throws
    /// error(BS_ERROR_INVALID_CONFIG).
    static _bs_platform_handle_t& instance();

    std::size_t n_devices() const;
    /// Throws if there is no such device.
    bs_device_handle_t device(std::size_t index) const;
    bs_device_handle_t add(const bs_device_desc_t& desc, bool listed);

private:
    _bs_platform_handle_t();

    mutable std::mutex mutex_;
    std::deque<std::unique_ptr<basalt::device>> listed_;
    std::deque<std::unique_ptr<basalt::device>> hidden_;
};
