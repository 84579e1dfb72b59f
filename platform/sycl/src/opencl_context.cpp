#include "opencl_queue.hpp"

#include <algorithm>
#include <limits>

namespace sycl::detail::opencl {

namespace {

/// Before any call of OpenCL 2: older implementations have no entry for it.
void require_shared_pointers(const device_impl& target) {
    if (!static_cast<const device&>(target).shares_pointers()) {
        throw exception(errc::feature_not_supported,
                        target.facts().name + " has no fine-grained shared virtual memory, without which " +
                            "this runtime cannot use an OpenCL device");
    }
}

} // namespace

context::context(device_list devices, async_handler handler, context_reference native)
    : context_impl(std::move(devices), std::move(handler)), native_(std::move(native)),
      programs_(native_.get()) {}

context::~context() {
    for (const auto& [memory, what] : blocks_) {
        clSVMFree(native(), memory);
    }
}

void* context::allocate(usm::alloc kind, std::size_t bytes, std::size_t alignment, device_impl& target) {
    require_shared_pointers(target);
    if (alignment > std::numeric_limits<cl_uint>::max()) {
        return nullptr;
    }
    const auto owner = std::find_if(devices().begin(), devices().end(),
                                    [&](const auto& each) { return each.get() == &target; });
    // The entry first: nothing may fail once the driver has given memory.
    decltype(blocks_) entry;
    entry.emplace(nullptr, block{bytes, {kind, *owner}});
    void* const memory = clSVMAlloc(native(), CL_MEM_READ_WRITE | CL_MEM_SVM_FINE_GRAIN_BUFFER, bytes,
                                    static_cast<cl_uint>(alignment));
    if (memory != nullptr) {
        auto node = entry.extract(entry.begin());
        node.key() = memory;
        const std::lock_guard guard(lock_);
        blocks_.insert(std::move(node));
    }
    return memory;
}

void context::free(void* memory) {
    {
        const std::lock_guard guard(lock_);
        if (blocks_.erase(memory) == 0) {
            throw exception(errc::invalid, "the pointer to be freed is no memory of the context");
        }
    }
    clSVMFree(native(), memory);
}

context_impl::allocation context::query(const void* memory) {
    const std::lock_guard guard(lock_);
    auto behind = blocks_.upper_bound(const_cast<void*>(memory));
    if (behind == blocks_.begin()) {
        return {usm::alloc::unknown, nullptr};
    }
    const auto& [start, found] = *std::prev(behind);
    const bool inside = static_cast<const std::byte*>(memory) < static_cast<std::byte*>(start) + found.bytes;
    return inside ? found.what : allocation{usm::alloc::unknown, nullptr};
}

std::vector<void*> context::allocations() {
    std::vector<void*> result;
    const std::lock_guard guard(lock_);
    for (const auto& [memory, what] : blocks_) {
        result.push_back(memory);
    }
    return result;
}

std::unique_ptr<native_queue> context::make_queue(const std::shared_ptr<device_impl>& target, bool in_order) {
    require_shared_pointers(*target);
    const auto native_device = static_cast<device&>(*target).native();
    const auto abilities =
        device_value<cl_command_queue_properties>(native_device, CL_DEVICE_QUEUE_ON_HOST_PROPERTIES, 0);
    const cl_queue_properties order = in_order ? 0 : abilities & CL_QUEUE_OUT_OF_ORDER_EXEC_MODE_ENABLE;
    const cl_queue_properties properties[] = {CL_QUEUE_PROPERTIES, order, 0};
    cl_int status = CL_SUCCESS;
    queue_reference made(clCreateCommandQueueWithProperties(native(), native_device, properties, &status));
    check(status, "no OpenCL queue");
    return std::make_unique<queue>(*this, target, std::move(made));
}

} // namespace sycl::detail::opencl
