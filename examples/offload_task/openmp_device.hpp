#pragma once

#include <omptarget/interop.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

namespace example {

/// Something that the machine lacks or refuses.
class device_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The device of an OpenMP program, by way of one foreign run-time.
class openmp_device {
public:
    virtual ~openmp_device() = default;

    /// Memory that host and device reach, as `omp_target_alloc` gives it with unified shared memory.
    virtual void* allocate(std::size_t bytes) = 0;
    virtual void release(void* memory) = 0;

    /// What `#pragma omp interop init(targetsync)` gives; null when memory is out.
    virtual omptarget_interop_t make_interop() = 0;

    virtual std::string name() const = 0;
};

/// \param runtime "opencl", "sycl" or "basalt" \throws device_error
std::unique_ptr<openmp_device> open_device(const std::string& runtime);

} // namespace example
