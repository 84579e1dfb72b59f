#pragma once

#include "driver.hpp"
#include "opencl_api.hpp"
#include "opencl_program.hpp"

#include <map>
#include <memory>
#include <mutex>
#include <string>

/// The back end for the devices of OpenCL implementations.
namespace sycl::detail::opencl {

/// How an implementation takes device images.
enum class image_road {
    none,          ///< not at all
    spirv,         ///< SPIR-V, as it is
    spirv_by_name, ///< SPIR-V, through a function that the implementation gives out by name
    bitcode        ///< translated to SPIR bitcode
};

class platform final : public platform_impl {
public:
    platform(platform_facts facts, cl_platform_id native)
        : platform_impl(backend::opencl, std::move(facts)), native_(native) {}

    cl_platform_id native() const { return native_; }
    device_list devices() override;
    std::shared_ptr<context_impl> make_context(device_list devices, async_handler handler) override;
    /// The one object for a native device; null for a foreign handle.
    std::shared_ptr<device_impl> device_of(cl_device_id native);

private:
    cl_platform_id native_;
    std::mutex lock_;
    device_list known_;
};

class device final : public device_impl {
public:
    device(std::shared_ptr<platform_impl> platform, cl_device_id native);

    cl_device_id native() const { return native_; }
    /// Whether pointers mean the same on the host and on the device, which this runtime needs.
    bool shares_pointers() const { return shares_pointers_; }
    image_road road() const { return road_; }
    std::size_t max_argument_bytes() const { return max_argument_bytes_; }

private:
    cl_device_id native_;
    bool shares_pointers_;
    image_road road_;
    std::size_t max_argument_bytes_;
};

class context final : public context_impl {
public:
    context(device_list devices, async_handler handler, context_reference native);
    ~context() override;

    cl_context native() const { return native_.get(); }
    program_cache& programs() { return programs_; }

    void* allocate(usm::alloc kind, std::size_t bytes, std::size_t alignment, device_impl& device) override;
    void free(void* memory) override;
    allocation query(const void* memory) override;
    std::unique_ptr<native_queue> make_queue(const std::shared_ptr<device_impl>& device,
                                             bool in_order) override;

    /// All allocations. A kernel may reach any of them through its argument, of which OpenCL has to be told.
    std::vector<void*> allocations();

private:
    struct block {
        std::size_t bytes;
        allocation what;
    };

    context_reference native_;
    program_cache programs_;
    std::mutex lock_;
    std::map<void*, block> blocks_;
};

/// All platforms of all implementations that the loader knows.
std::vector<std::shared_ptr<platform>> make_platforms();

} // namespace sycl::detail::opencl
