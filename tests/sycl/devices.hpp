#pragma once

#include <basalt/basalt.h>

#include <sycl/sycl.hpp>

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace test {

/// A software GPU made for the tests, the same one for the same description.
inline sycl::device software_gpu(bs_device_desc_t desc) {
    const auto platform =
        sycl::get_native<sycl::backend::ext_aurelo_basalt>(sycl::device(sycl::gpu_selector_v).get_platform());
    bs_device_handle_t made = nullptr;
    EXPECT_EQ(bs_device_add(platform, &desc, &made), BS_SUCCESS) << bs_last_error();
    return sycl::ext::aurelo::basalt::make_device(sycl::ext::aurelo::basalt::make_platform(platform), made);
}

inline bs_device_desc_t described() {
    bs_device_desc_t desc;
    bs_device_desc_init(&desc);
    return desc;
}

inline sycl::device gpu_with_limit(std::size_t max_work_group_size) {
    auto desc = described();
    desc.max_work_group_size = max_work_group_size;
    return software_gpu(desc);
}

/// The CPU device and software GPUs of two limits.
inline const std::vector<sycl::device>& devices() {
    static const std::vector<sycl::device> list{sycl::device(sycl::cpu_selector_v), gpu_with_limit(4),
                                                gpu_with_limit(64)};
    return list;
}

inline std::string name_of(const sycl::device& device) {
    std::string name = device.is_cpu() ? "cpu" : "gpu";
    return name + std::to_string(device.get_info<sycl::info::device::max_work_group_size>());
}

/// Keeps the commands of a software GPU from starting.
class held {
public:
    explicit held(const sycl::device& device)
        : native_(sycl::get_native<sycl::backend::ext_aurelo_basalt>(device)) {
        bs_device_hold(native_);
    }
    ~held() { release(); }
    held(const held&) = delete;
    held& operator=(const held&) = delete;
    void release() {
        if (native_ != nullptr) {
            bs_device_release(native_);
        }
        native_ = nullptr;
    }

private:
    bs_device_handle_t native_;
};

inline bool complete(const sycl::event& event) {
    return event.get_info<sycl::info::event::command_execution_status>() ==
           sycl::info::event_command_status::complete;
}

/// The message of the exception that \p call throws, with its code checked.
template <typename Call>
std::string message_of(sycl::errc code, const Call& call) {
    try {
        call();
    } catch (const sycl::exception& error) {
        EXPECT_EQ(error.code(), code) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "no sycl::exception was thrown";
    return {};
}

class on_every_device : public testing::TestWithParam<sycl::device> {
protected:
    sycl::queue queue{GetParam()};
};

#define ON_EVERY_DEVICE(SUITE)                                                                               \
    INSTANTIATE_TEST_SUITE_P(devices, SUITE, testing::ValuesIn(test::devices()),                             \
                             [](const auto& chosen) { return test::name_of(chosen.param); })

} // namespace test
