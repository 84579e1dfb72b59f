#pragma once

#include "support/optional.hpp"

#include "../runtime/natives.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// A device as an OpenMP program holds it, by way of one foreign run-time.
class interop_device {
public:
    virtual ~interop_device() = default;

    virtual interop_object interop() = 0;
    virtual sycl::device as_sycl_device() const = 0;

    /// Memory of exactly so many bytes that host and device reach.
    virtual void* allocate(std::size_t bytes) = 0;
    virtual void release(void* memory) = 0;

    /// Keeps work that is submitted from here on from starting, until as many calls of let_go().
    virtual void hold() { require(bs_device_hold(sycl::get_native<soft_gpu>(as_sycl_device()))); }
    virtual void let_go() { bs_device_release(sycl::get_native<soft_gpu>(as_sycl_device())); }

    int runtime = 0;
    std::size_t work_group_limit = 0;
    std::string name;
};

/// The devices live to the end of the process, like the contexts that the library caches for their handles.
interop_device& software_gpu(); ///< basalt, id 6
/// basalt with a work-group limit, a delay before every kernel, and 64-bit floating point or not
std::unique_ptr<interop_device> new_software_gpu(std::size_t work_group_limit, unsigned delay_us, bool fp64);
interop_device& sycl_gpu(); ///< a queue of a software GPU, id 4
interop_device& sycl_gpu_in_order();
/// a queue of a software GPU that gives asynchronous errors to \p handler
std::unique_ptr<interop_device> new_sycl_gpu(const sycl::async_handler& handler);
interop_device& sycl_cpu(); ///< a queue of the CPU device, id 4; it cannot be held
/// OpenCL, id 3; null without a device or without device images in this build
interop_device* opencl();
interop_device* opencl_out_of_order();

/// All that there are.
std::vector<interop_device*> all_devices();
/// Those that can be held.
std::vector<interop_device*> holdable_devices();

class held_device {
public:
    explicit held_device(interop_device& device) : device_(&device) { device.hold(); }
    ~held_device() { let_go(); }
    held_device(const held_device&) = delete;
    held_device& operator=(const held_device&) = delete;
    void let_go() {
        if (device_ != nullptr) {
            device_->let_go();
            device_ = nullptr;
        }
    }

private:
    interop_device* device_;
};

} // namespace test

/// Ends the test without an OpenCL device; a build without device images cannot have one.
#ifdef QTX_TEST_DEVICE_IMAGES
#define NEEDS_OPENCL()                                                                                       \
    if (test::opencl() == nullptr) {                                                                         \
        SUPPORT_MISSING("no OpenCL device");                                                                 \
    }
#else
#define NEEDS_OPENCL() GTEST_SKIP() << "no device images in this build"
#endif
