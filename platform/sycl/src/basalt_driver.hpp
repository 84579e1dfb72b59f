#pragma once

#include "driver.hpp"

#include <basalt/basalt.h>

#include <sycl/interop.hpp>

#include <memory>
#include <mutex>
#include <unordered_map>

/// The back end for the software GPU, and for the CPU device, whose kernels run on a hidden device of the
/// same driver.
namespace sycl::detail::basalt {

/// Throws a sycl::exception for a failed call of the driver.
void check(bs_result_t result, const char* what);

class platform final : public platform_impl {
public:
    platform(sycl::backend kind, platform_facts facts, bs_platform_handle_t native,
             bs_device_handle_t only_device);

    bs_platform_handle_t native() const { return native_; }
    device_list devices() override;
    std::shared_ptr<context_impl> make_context(device_list devices, async_handler handler) override;
    /// The one object for a native device; throws errc::invalid for a foreign handle.
    std::shared_ptr<device_impl> device_of(bs_device_handle_t native);

private:
    bs_platform_handle_t native_;
    bs_device_handle_t
        only_device_; ///< the hidden device of the CPU's platform; null: all that the driver lists
    std::mutex lock_;
    std::unordered_map<bs_device_handle_t, std::shared_ptr<device_impl>> known_;
};

class device final : public device_impl {
public:
    device(const std::shared_ptr<platform_impl>& platform, bs_device_handle_t native,
           const bs_device_desc_t& desc);
    bs_device_handle_t native() const { return native_; }

private:
    bs_device_handle_t native_;
};

class context final : public context_impl {
public:
    /// \p owned: the native context goes with this object.
    context(device_list devices, async_handler handler, bs_context_handle_t native, bool owned);
    ~context() override;

    bs_context_handle_t native() const { return native_; }
    void* allocate(usm::alloc kind, std::size_t bytes, std::size_t alignment, device_impl& device) override;
    void free(void* memory) override;
    allocation query(const void* memory) override;
    std::unique_ptr<native_queue> make_queue(const std::shared_ptr<device_impl>& device,
                                             bool in_order) override;

private:
    bs_context_handle_t native_;
    bool owned_;
};

using queue_handle = ext::aurelo::basalt::queue_handle;

class queue final : public native_queue {
public:
    queue(queue_handle native, bool owned) : native_(native), owned_(owned) {}
    ~queue() override;
    queue(const queue&) = delete;
    queue& operator=(const queue&) = delete;

    queue_handle native() const { return native_; }
    void launch(const kernel_launch& what, std::shared_ptr<command> done) override;
    void copy(const memory_copy& what, std::shared_ptr<command> done) override;
    void fill(const memory_fill& what, std::shared_ptr<command> done) override;

private:
    /// Submits a command whose completion ends \p done.
    void submit(bs_command_t native, std::shared_ptr<command> done);

    queue_handle native_;
    bool owned_;
};

/// The platforms of this back end: the CPU's, then the software GPUs'.
std::vector<std::shared_ptr<platform>> make_platforms();
/// The one object for the driver's platform; throws errc::invalid for a foreign handle.
std::shared_ptr<platform> platform_of(bs_platform_handle_t native);

} // namespace sycl::detail::basalt
