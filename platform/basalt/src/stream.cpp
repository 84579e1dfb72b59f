#include "stream.hpp"

#include "command.hpp"

#include <algorithm>
#include <utility>

namespace basalt {

namespace {

constexpr std::size_t least_prune = 64;

void check_kernel(const bs_kernel_t& kernel, const device& device) {
    require(kernel.run_item, "run_item");
    require(kernel.make_instance, "make_instance");
    require(kernel.drop_instance, "drop_instance");
    if (kernel.local_size == 0) {
        throw_invalid("local_size is 0");
    }
    device.check(kernel);
}

std::unique_ptr<work> make_work(const bs_command_t& command, const device& device) {
    const int kinds =
        (command.kernel != nullptr) + (command.copy.target != nullptr) + (command.fill.target != nullptr);
    if (kinds > 1) {
        throw_invalid("a command is one of a kernel, a copy and a fill, not " + std::to_string(kinds) +
                      " of them");
    }
    if (command.kernel != nullptr) {
        check_kernel(*command.kernel, device);
        return make_kernel_work(*command.kernel, device.desc().local_memory_bytes);
    }
    if (command.copy.target != nullptr) {
        if (command.copy.bytes != 0) {
            require(command.copy.source, "source of the copy");
        }
        return make_copy_work(command.copy.target, command.copy.source, command.copy.bytes);
    }
    if (command.fill.target != nullptr) {
        const std::size_t bytes = command.fill.pattern_bytes;
        if (bytes == 0 || bytes > sizeof(command.fill.pattern) || (bytes & (bytes - 1)) != 0) {
            throw_invalid("pattern_bytes is " + std::to_string(bytes) + ", it must be 1, 2, 4, 8 or 16");
        }
        return make_fill_work(command.fill.target, command.fill.pattern, bytes, command.fill.count);
    }
    return nullptr;
}

std::vector<event_ref> make_waits(const bs_command_t& command) {
    if (command.n_waits != 0) {
        require(command.waits, "waits");
    }
    std::vector<event_ref> waits;
    waits.reserve(command.n_waits);
    for (std::uint32_t i = 0; i < command.n_waits; ++i) {
        require(command.waits[i], "an event of the wait list");
        if (command.waits[i] == command.signal) {
            throw_invalid("a command cannot wait for the event that it signals");
        }
        waits.emplace_back(command.waits[i]);
    }
    return waits;
}

} // namespace

stream::stream(basalt::context& context, basalt::device& device, bool in_order)
    : context_(&context), device_(&device), in_order_(in_order), prune_at_(least_prune) {
    context.check_device(&device);
    device.scheduler().start_threads();
    context.queue_made();
}

stream::~stream() {
    // Nobody submits any more. A copy of the list could fail.
    std::unique_lock lock(mutex_);
    const std::vector<event_ref> last = std::move(unfinished_);
    lock.unlock();
    for (const event_ref& e : last) {
        e->wait();
    }
    context_->queue_gone();
}

void stream::submit(const bs_command_t& what) {
    std::unique_ptr<work> work = make_work(what, *device_);
    const event_ref done(what.signal != nullptr ? what.signal : new event);
    const auto made = std::make_shared<command>(device_->scheduler(), std::move(work), done);
    command::conditions conditions = made->make_conditions(make_waits(what));
    event::listeners callback = listeners_of(what.callback, what.user);
    {
        const std::lock_guard lock(mutex_);
        make_room();
        done->bind_to_command();
        unfinished_.push_back(done);
        if (in_order_) {
            conditions.predecessor = std::exchange(last_, done);
        }
    }
    // From here on nothing can fail.
    done->listen(std::move(callback));
    made->start_after(std::move(conditions));
}

void stream::make_room() {
    if (unfinished_.size() >= prune_at_) {
        std::erase_if(unfinished_, [](const event_ref& e) { return e->completed(); });
        prune_at_ = std::max(least_prune, 2 * unfinished_.size());
    }
    if (unfinished_.size() == unfinished_.capacity()) {
        unfinished_.reserve(2 * prune_at_);
    }
}

void stream::synchronize() {
    std::vector<event_ref> snapshot;
    {
        const std::lock_guard lock(mutex_);
        snapshot = unfinished_;
    }
    for (const event_ref& e : snapshot) {
        e->wait();
    }
}

} // namespace basalt
