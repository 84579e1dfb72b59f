#pragma once

#include "../support/devices.hpp"
#include "../support/optional.hpp"

namespace test {

/// On the first OpenCL device; without one the tests say so, and skip.
class on_opencl : public testing::Test {
protected:
    void SetUp() override {
        if (opencl_devices().empty()) {
            SUPPORT_MISSING("no OpenCL device with fine-grained shared virtual memory");
        }
        device = opencl_devices().front();
        queue = sycl::queue(device);
    }

    sycl::device device{sycl::cpu_selector_v};
    sycl::queue queue{sycl::cpu_selector_v};
};

} // namespace test
