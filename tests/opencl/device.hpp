#pragma once

#include "../support/optional.hpp"

#include <sycl/sycl.hpp>

#include <gtest/gtest.h>

#include <vector>

namespace test {

/// The OpenCL devices that this runtime can use. Without one the tests say so, and skip.
inline std::vector<sycl::device> opencl_devices() {
    std::vector<sycl::device> result;
    for (const auto& each : sycl::device::get_devices()) {
        if (each.get_backend() == sycl::backend::opencl && each.has(sycl::aspect::usm_device_allocations)) {
            result.push_back(each);
        }
    }
    return result;
}

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
