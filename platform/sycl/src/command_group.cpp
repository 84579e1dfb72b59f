#include "command_group.hpp"

#include "image_registry.hpp"
#include "kernel_name.hpp"

#include <sycl/detail/local_pool.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace sycl::detail {

namespace {

/// Kernels rely on ids that fit a signed 32-bit integer.
constexpr std::size_t global_size_limit = std::size_t{1} << 31;

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t gap_between_local_arrays = 64;
#else
constexpr std::size_t gap_between_local_arrays = 0;
#endif

/// Saturates, at a size that no memory has.
constexpr std::size_t saturated_sum(std::size_t a, std::size_t b) {
    return a + b >= a ? a + b : static_cast<std::size_t>(-1);
}

std::string number(std::size_t value) {
    return std::to_string(value);
}

} // namespace

command_group*& command_group::current() {
    static thread_local command_group* group = nullptr;
    return group;
}

command_group::command_group(std::shared_ptr<queue_impl> queue)
    : queue_(std::move(queue)), command_(std::make_shared<class command>(queue_)) {}

void command_group::describe(const std::function<void(handler&)>& group) {
    handler description(*this);
    group(description);
    if (!command_->has_action()) {
        set_action([](const std::shared_ptr<class command>& self) { self->finish(nullptr); });
    }
}

memory_space command_group::space() const {
    const auto& context = queue_->context();
    return context->shares_host_memory() ? memory_space{} : memory_space{context, queue_->device().get()};
}

void command_group::depend_on(const event& dependency) {
    dependencies_.push_back(impl_of<class command>(dependency));
}

void* command_group::require(const buffer_binding& binding) {
    const auto found = std::find_if(requirements_.begin(), requirements_.end(),
                                    [&](const auto& each) { return each.buffer == binding.buffer; });
    const requirement use{binding.buffer, binding.mode, binding.no_init};
    if (found == requirements_.end()) {
        requirements_.push_back(use);
        command_->keep(binding.buffer);
    } else {
        const bool reads = found->reads() || use.reads();
        const bool writes = found->writes() || use.writes();
        found->mode = writes ? access_mode::read_write : access_mode::read;
        found->no_init = !reads;
    }
    return address(binding);
}

void* command_group::address(const buffer_binding& binding) {
    const bool required = std::any_of(requirements_.begin(), requirements_.end(),
                                      [&](const auto& each) { return each.buffer == binding.buffer; });
    if (!required) {
        throw exception(errc::kernel_argument,
                        "a placeholder accessor is used that handler::require() has not been "
                        "called for");
    }
    const std::lock_guard guard(graph_lock());
    return binding.buffer->address(space());
}

std::size_t command_group::reserve_local(std::size_t bytes, std::size_t alignment) {
    const std::size_t earliest =
        local_bytes_ == 0 ? 0 : saturated_sum(local_bytes_, gap_between_local_arrays);
    const std::size_t offset = saturated_sum(earliest, alignment - 1) / alignment * alignment;
    if (offset != local_bytes_) {
        local_gaps_.emplace_back(local_bytes_, offset - local_bytes_);
    }
    local_bytes_ = saturated_sum(offset, bytes);
    return offset;
}

void command_group::refuse_second_action() const {
    if (command_->has_action()) {
        throw exception(errc::invalid, "a command group has one action, a second one was given");
    }
}

void command_group::set_action(command::action what, bool native) {
    refuse_second_action();
    command_->set_action(std::move(what), native);
}

void command_group::check_launch(const nd_range<1>& space, const kernel_traits& kernel) const {
    const std::size_t global = space.get_global_range().size();
    const std::size_t local = space.get_local_range().size();
    const auto& facts = queue_->device()->facts();
    if (kernel.needs_fp64 && !queue_->device()->has(aspect::fp64)) {
        throw exception(errc::kernel_not_supported, readable_name(kernel) + " computes in double, and " +
                                                        facts.name +
                                                        " has no 64-bit floating point (aspect fp64)");
    }
    if (global >= global_size_limit) {
        throw exception(errc::nd_range,
                        "a launch of " + number(global) + " work-items reaches the limit of 2147483648");
    }
    if (local == 0 || global % local != 0) {
        throw exception(errc::nd_range, "a global size of " + number(global) +
                                            " is no multiple of the local size " + number(local));
    }
    if (local > facts.max_work_group_size) {
        throw exception(errc::nd_range, "a work-group of " + number(local) + " is above the limit of " +
                                            number(facts.max_work_group_size) + " of " + facts.name);
    }
    // Only an image tells what a kernel reduces. The software GPU, which needs none, also checks as it runs.
    const std::size_t reductions = group_scratch_bytes(local, reduced_value_bytes(kernel.name));
    if (local_bytes_ > facts.local_memory_bytes || reductions > facts.local_memory_bytes - local_bytes_) {
        throw exception(errc::memory_allocation,
                        number(local_bytes_ + reductions) + " bytes of local memory, of which " +
                            number(reductions) + " are for reductions, are above the limit of " +
                            number(facts.local_memory_bytes) + " of " + facts.name);
    }
}

void command_group::set_kernel(const nd_range<1>& space, std::unique_ptr<kernel_box> kernel) {
    check_launch(space, kernel->traits());
    const std::shared_ptr<kernel_box> kept = std::move(kernel);
    command_->keep(kept);
    const std::size_t local = space.get_local_range().size();
    const kernel_launch what{kept.get(), space.get_global_range().size() / local, local, local_bytes_,
                             local_gaps_};
    queue_->native().check_launch(what);
    set_native_action([what](native_queue& queue, auto self) { queue.launch(what, std::move(self)); });
}

void command_group::set_host_task(std::unique_ptr<host_task_box> body) {
    refuse_second_action();
    command_->set_host_task(std::move(body));
}

void command_group::set_copy(const memory_copy& what) {
    set_native_action([what](native_queue& queue, auto self) { queue.copy(what, std::move(self)); });
}

void command_group::set_fill(const memory_fill& what) {
    set_native_action([what](native_queue& queue, auto self) { queue.fill(what, std::move(self)); });
}

} // namespace sycl::detail
