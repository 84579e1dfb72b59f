#pragma once

#include <sycl/aspects.hpp>
#include <sycl/backend.hpp>
#include <sycl/exception.hpp>
#include <sycl/info.hpp>
#include <sycl/usm.hpp>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/**
 * The narrow border between the runtime and its back ends: platforms list devices, contexts own memory,
 * native queues run kernels, copies and fills. A back end knows nothing of buffers and of the command graph.
 */
namespace sycl::detail {

class command;
class kernel_box;

/// A kernel launch as the back ends see it. The kernel object lives as long as the command.
struct kernel_launch {
    kernel_box* kernel;
    std::size_t n_groups;
    std::size_t local_size;
    std::size_t local_memory_bytes;
    std::vector<std::pair<std::size_t, std::size_t>>
        local_gaps; ///< {offset, bytes} that no local array covers
};

struct memory_copy {
    void* target;
    const void* source;
    std::size_t bytes;
};

struct memory_fill {
    void* target;
    std::vector<std::byte> pattern;
    std::size_t count;
};

/// A back end's own event of a command.
class backend_event {
public:
    virtual ~backend_event() = default;
    /// Commands of queues with the same domain can wait for it.
    virtual const void* domain() const = 0;
    /// Ends an event of native_queue::make_event().
    virtual void end(bool success) = 0;
};

/**
 * Runs commands. Each one ends in exactly one command::finish(). A queue of a back end that has events of its
 * own is given commands as soon as they are submitted, and waits itself for command::wait_list(); any other
 * one when their dependencies have been met.
 */
class native_queue {
public:
    virtual ~native_queue() = default;
    /// Null: the back end has no events.
    virtual const void* event_domain() const { return nullptr; }
    /// An event that the runtime ends.
    virtual std::shared_ptr<backend_event> make_event() { return nullptr; }
    /// Refuses, by throwing, what would fail later. Called while the command group is described.
    virtual void check_launch(const kernel_launch&) {}
    virtual void launch(const kernel_launch& what, std::shared_ptr<command> done) = 0;
    virtual void copy(const memory_copy& what, std::shared_ptr<command> done) = 0;
    virtual void fill(const memory_fill& what, std::shared_ptr<command> done) = 0;
};

struct device_facts {
    std::string name;
    std::string vendor;
    std::string version;
    std::string driver_version;
    info::device_type type;
    std::size_t max_work_group_size;
    std::uint32_t compute_units;
    std::uint64_t local_memory_bytes;
    std::uint64_t global_memory_bytes;
    std::vector<aspect> aspects;
};

class context_impl;
class platform_impl;

class device_impl : public std::enable_shared_from_this<device_impl> {
public:
    device_impl(std::shared_ptr<platform_impl> platform, device_facts facts);
    virtual ~device_impl() = default;

    const std::shared_ptr<platform_impl>& platform() const { return platform_; }
    const device_facts& facts() const { return facts_; }
    backend get_backend() const;
    bool has(aspect which) const;
    /// The context of all queues that are made without one, so that they share memory and built kernels. Made on
    /// first use and, like the device, never destroyed.
    std::shared_ptr<context_impl> default_context();

private:
    std::shared_ptr<platform_impl> platform_;
    device_facts facts_;
    std::mutex lock_;
    std::shared_ptr<context_impl> default_context_;
};

using device_list = std::vector<std::shared_ptr<device_impl>>;

class context_impl : public std::enable_shared_from_this<context_impl> {
public:
    context_impl(device_list devices, async_handler handler);
    virtual ~context_impl() = default;

    const device_list& devices() const { return devices_; }
    const async_handler& handler() const { return handler_; }
    backend get_backend() const;
    void require_member(const device_impl& device) const;

    /// Null if there is no memory left.
    virtual void* allocate(usm::alloc kind, std::size_t bytes, std::size_t alignment,
                           device_impl& device) = 0;
    virtual void free(void* memory) = 0;
    struct allocation {
        usm::alloc kind;
        std::shared_ptr<device_impl> device;
    };
    virtual allocation query(const void* memory) = 0;
    virtual std::unique_ptr<native_queue> make_queue(const std::shared_ptr<device_impl>& device,
                                                     bool in_order) = 0;

    /// Whether buffers can stay in the host's own memory.
    bool shares_host_memory() const { return get_backend() == backend::host; }

private:
    device_list devices_;
    async_handler handler_;
};

struct platform_facts {
    std::string name;
    std::string vendor;
    std::string version;
};

class platform_impl : public std::enable_shared_from_this<platform_impl> {
public:
    platform_impl(sycl::backend kind, platform_facts facts) : backend_(kind), facts_(std::move(facts)) {}
    virtual ~platform_impl() = default;

    sycl::backend get_backend() const { return backend_; }
    const platform_facts& facts() const { return facts_; }
    virtual device_list devices() = 0;
    virtual std::shared_ptr<context_impl> make_context(device_list devices, async_handler handler) = 0;

private:
    sycl::backend backend_;
    platform_facts facts_;
};

/// All platforms, the CPU's first. Made on first use, never destroyed.
const std::vector<std::shared_ptr<platform_impl>>& all_platforms();

} // namespace sycl::detail
