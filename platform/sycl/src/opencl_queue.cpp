#include "opencl_queue.hpp"

#include "command.hpp"
#include "kernel_name.hpp"

#include <sycl/detail/kernel.hpp>
#include <sycl/detail/local_pool.hpp>

#include <algorithm>
#include <string>

namespace sycl::detail::opencl {

queue::queue(context& owner, std::shared_ptr<device_impl> target, queue_reference native)
    : context_(owner), target_(std::move(target)), native_(std::move(native)) {}

queue::~queue() {
    clFlush(native());
}

namespace {

std::shared_ptr<const kernel_image> require_image(const kernel_traits& kernel, const device& target) {
    auto image = find_image(kernel.name);
    if (image == nullptr) {
        throw exception(errc::kernel_not_supported, "there is no device image of kernel " +
                                                        readable_name(kernel) + " for " +
                                                        target.facts().name);
    }
    for (const auto needed : image->aspects) {
        if (!target.has(needed)) {
            throw exception(errc::kernel_not_supported, readable_name(kernel) + " needs aspect " +
                                                            std::to_string(static_cast<int>(needed)) +
                                                            ", which " + target.facts().name + " lacks");
        }
    }
    return image;
}

std::size_t group_bytes(const kernel_launch& what, const kernel_image& image, const built_kernel& built) {
    return group_scratch_bytes(what.local_size, image.group_value_bytes) +
           what.local_size * built.bytes_per_item;
}

/// Drivers refuse blocks of no bytes.
std::size_t block_bytes(std::size_t wanted) {
    return std::max<std::size_t>(wanted, 1);
}

} // namespace

void queue::check_launch(const kernel_launch& what) {
    const auto& traits = what.kernel->traits();
    const auto& facts = target().facts();
    const auto image = require_image(traits, target());
    if (traits.bytes != image->argument_bytes || traits.bytes > target().max_argument_bytes()) {
        throw exception(errc::kernel_argument,
                        readable_name(traits) + " has " + std::to_string(traits.bytes) +
                            " bytes, its device image takes " + std::to_string(image->argument_bytes) +
                            ", and " + facts.name + " at most " +
                            std::to_string(target().max_argument_bytes()));
    }
    const auto built = context_.programs().get(target(), *image);
    const std::size_t for_group = group_bytes(what, *image, *built);
    // Drivers align the two blocks, and what is behind them, for the largest vector.
    constexpr std::size_t alignment = 128;
    if (block_bytes(what.local_memory_bytes) + block_bytes(for_group) + 3 * (alignment - 1) >
        facts.local_memory_bytes) {
        throw exception(errc::memory_allocation,
                        std::to_string(what.local_memory_bytes) + " and " + std::to_string(for_group) +
                            " bytes of local memory, aligned, are above the limit of " +
                            std::to_string(facts.local_memory_bytes) + " of " + facts.name);
    }
}

void queue::set_arguments(const built_kernel& built, const kernel_launch& what, const kernel_image& image) {
    const cl_kernel kernel = built.kernel.get();
    const auto& box = *what.kernel;
    check(clSetKernelArg(kernel, 0, box.traits().bytes, box.kernel()), "a kernel's argument");
    check(clSetKernelArg(kernel, 1, block_bytes(what.local_memory_bytes), nullptr),
          "a kernel's local memory");
    check(clSetKernelArg(kernel, 2, block_bytes(group_bytes(what, image, built)), nullptr),
          "a kernel's local memory of reductions");
    const auto reachable = context_.allocations();
    if (!reachable.empty()) {
        check(clSetKernelExecInfo(kernel, CL_KERNEL_EXEC_INFO_SVM_PTRS, reachable.size() * sizeof(void*),
                                  reachable.data()),
              "the memory that a kernel uses");
    }
}

void queue::launch(const kernel_launch& what, std::shared_ptr<command> done) {
    const auto image = require_image(what.kernel->traits(), target());
    const auto built = context_.programs().get(target(), *image);
    const wait_list waits(*done);
    completion end(std::move(done), context_.native());
    const std::size_t global = what.n_groups * what.local_size;
    const std::size_t local = what.local_size;
    cl_event native_event = nullptr;
    {
        const std::lock_guard guard(built->lock);
        set_arguments(*built, what, *image);
        check(clEnqueueNDRangeKernel(native(), built->kernel.get(), 1, nullptr, &global, &local, waits.size(),
                                     waits.data(), &native_event),
              "a kernel cannot be enqueued");
    }
    end.follow(native_event);
    clFlush(native());
}

void queue::copy(const memory_copy& what, std::shared_ptr<command> done) {
    const wait_list waits(*done);
    completion end(std::move(done), context_.native());
    cl_event native_event = nullptr;
    if (what.bytes == 0) {
        check(clEnqueueMarkerWithWaitList(native(), waits.size(), waits.data(), &native_event),
              "an empty copy cannot be enqueued");
    } else {
        check(clEnqueueSVMMemcpy(native(), CL_FALSE, what.target, what.source, what.bytes, waits.size(),
                                 waits.data(), &native_event),
              "a copy cannot be enqueued");
    }
    end.follow(native_event);
    clFlush(native());
}

void queue::fill(const memory_fill& what, std::shared_ptr<command> done) {
    const wait_list waits(*done);
    completion end(std::move(done), context_.native());
    const std::size_t bytes = what.pattern.size() * what.count;
    cl_event native_event = nullptr;
    if (bytes == 0) {
        check(clEnqueueMarkerWithWaitList(native(), waits.size(), waits.data(), &native_event),
              "an empty fill cannot be enqueued");
    } else {
        check(clEnqueueSVMMemFill(native(), what.target, what.pattern.data(), what.pattern.size(), bytes,
                                  waits.size(), waits.data(), &native_event),
              "a fill cannot be enqueued");
    }
    end.follow(native_event);
    clFlush(native());
}

} // namespace sycl::detail::opencl
