#pragma once

#include <basalt/basalt.h>

#include <sycl/sycl.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace test {

inline sycl::device add_device(const bs_device_desc_t& desc) {
    bs_platform_handle_t platform = nullptr;
    bs_device_handle_t device = nullptr;
    if (bs_platform_get(&platform) != BS_SUCCESS || bs_device_add(platform, &desc, &device) != BS_SUCCESS) {
        throw std::runtime_error(bs_last_error());
    }
    return sycl::ext::aurelo::basalt::make_device(sycl::ext::aurelo::basalt::make_platform(platform), device);
}

inline bs_device_desc_t default_desc() {
    bs_device_desc_t desc;
    bs_device_desc_init(&desc);
    return desc;
}

/// A software GPU that the tests make for themselves.
inline sycl::device gpu_with_limit(std::size_t work_group_limit) {
    auto desc = default_desc();
    desc.max_work_group_size = work_group_limit;
    return add_device(desc);
}

inline bool complete(const sycl::event& event) {
    return event.get_info<sycl::info::event::command_execution_status>() ==
           sycl::info::event_command_status::complete;
}

inline std::size_t limit_of(const sycl::device& device) {
    return device.get_info<sycl::info::device::max_work_group_size>();
}

// The thread sanitizer keeps software GPUs to small groups.
#ifdef __SANITIZE_THREAD__
inline constexpr std::size_t medium_limit = 24;
inline constexpr std::size_t large_limit = 64;
#else
inline constexpr std::size_t medium_limit = 96;
inline constexpr std::size_t large_limit = 1024;
#endif

/// The OpenCL devices that this run-time can use.
inline std::vector<sycl::device> opencl_devices() {
    std::vector<sycl::device> list;
    for (const auto& each : sycl::device::get_devices()) {
        if (each.get_backend() == sycl::backend::opencl && each.has(sycl::aspect::usm_device_allocations)) {
            list.push_back(each);
        }
    }
    return list;
}

/// Those that are, or are presented as, GPUs.
inline std::vector<sycl::device> opencl_gpus() {
    auto list = opencl_devices();
    std::erase_if(list, [](const sycl::device& each) { return !each.is_gpu(); });
    return list;
}

#ifdef QTX_TEST_OPENCL
inline std::vector<sycl::device> make_gpus() {
    return opencl_gpus();
}
#else
/// Software GPUs whose limits make anything from deep plans of small groups to single steps.
inline std::vector<sycl::device> make_gpus() {
    return {gpu_with_limit(2), gpu_with_limit(4), gpu_with_limit(medium_limit), gpu_with_limit(large_limit)};
}
#endif

/// What a suite runs on that is the same for all GPUs.
inline const std::vector<sycl::device>& gpus() {
    static const std::vector<sycl::device> list = make_gpus();
    return list;
}

/// Keeps the commands of a software GPU from starting.
class held {
public:
    explicit held(const sycl::device& device)
        : device_(sycl::get_native<sycl::backend::ext_aurelo_basalt>(device)) {
        bs_device_hold(device_);
    }
    ~held() { release(); }
    held(const held&) = delete;
    held& operator=(const held&) = delete;
    void release() {
        if (device_ != nullptr) {
            bs_device_release(device_);
            device_ = nullptr;
        }
    }

private:
    bs_device_handle_t device_;
};

class on_every_gpu : public testing::TestWithParam<sycl::device> {
protected:
    std::size_t wg() const { return limit_of(GetParam()); }

    sycl::queue queue{GetParam()};
};

#define ON_EVERY_GPU(SUITE)                                                                                  \
    INSTANTIATE_TEST_SUITE_P(gpus, SUITE, testing::ValuesIn(test::gpus()), [](const auto& chosen) {          \
        return "wg" + std::to_string(test::limit_of(chosen.param));                                          \
    })

} // namespace test
