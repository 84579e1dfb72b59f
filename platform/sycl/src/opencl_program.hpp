#pragma once

#include "image_registry.hpp"
#include "opencl_api.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace sycl::detail::opencl {

class device;

/// A kernel that has been built for a device. Its arguments are state of the object, so that a launch holds
/// the lock from the first argument to the enqueueing.
struct built_kernel {
    std::mutex lock;
    program_reference program;
    kernel_reference kernel;
    std::uint64_t bytes_per_item = 0; ///< of local memory, beside what the kernel's reductions take
};

/// The kernels that a context has built, of images by their numbers. Each one is built once, by the first
/// that asks.
class program_cache {
public:
    explicit program_cache(cl_context context) : context_(context) {}

    /// Throws errc::kernel_not_supported if the device takes no images, errc::build if it refuses this one.
    std::shared_ptr<built_kernel> get(const device& target, const kernel_image& image);

private:
    struct slot {
        std::mutex lock;
        std::shared_ptr<built_kernel> kernel;
    };
    std::shared_ptr<slot> slot_of(const device& target, const kernel_image& image);

    cl_context context_;
    std::mutex lock_;
    std::map<std::pair<cl_device_id, std::uint64_t>, std::shared_ptr<slot>> slots_;
};

} // namespace sycl::detail::opencl
