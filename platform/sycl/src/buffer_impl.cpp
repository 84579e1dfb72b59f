#include "buffer_impl.hpp"

#include "command.hpp"
#include "driver.hpp"
#include "host_threads.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace sycl::detail {

namespace {

constexpr std::size_t host_alignment = 64;

/// No object has more bytes, and the C++ library's rounding of larger sizes overflows.
constexpr std::size_t most_bytes = std::numeric_limits<std::ptrdiff_t>::max();

/// Null if there is not as much.
void* allocate_on_host(std::size_t bytes) {
    return bytes > most_bytes ? nullptr
                              : ::operator new(bytes, std::align_val_t(host_alignment), std::nothrow);
}

[[noreturn]] void throw_no_memory(std::size_t bytes, const std::string& where) {
    const bool saturated = bytes == std::numeric_limits<std::size_t>::max();
    throw exception(errc::memory_allocation, "no memory for a buffer of " +
                                                 (saturated ? "2^64 or more" : std::to_string(bytes)) +
                                                 " bytes on " + where);
}

} // namespace

buffer_impl::buffer_impl(std::size_t bytes, void* host) : bytes_(bytes) {
    if (host != nullptr) {
        if (bytes > most_bytes) {
            throw_no_memory(bytes, "the host");
        }
        copies_.push_back(std::make_unique<copy>(copy{{}, host, false, true, nullptr}));
    }
}

buffer_impl::~buffer_impl() {
    for (const auto& each : copies_) {
        free(*each);
    }
}

void* buffer_impl::address(const memory_space& space) {
    return copy_in(space).memory;
}

void buffer_impl::mark_valid_on_host() {
    copy_in({}).valid = true;
}

void buffer_impl::order(const requirement& use, const memory_space& space,
                        const std::shared_ptr<command>& user, std::vector<std::shared_ptr<command>>& movers) {
    forget_completed();
    users_.reserve(users_.size() + 1); // nothing fails once the buffer has changed
    copy& target = copy_in(space);
    if (use.reads()) {
        bring_contents(target, movers);
        user->order_after(target.producer);
    }
    if (use.writes()) {
        const copy* const source = use.reads() ? nullptr : other_valid_copy(target);
        if (source != nullptr) {
            user->restore_if_refused(shared_from_this(), target.memory, source->memory);
        }
        become_writer(target, user);
    }
    users_.push_back(user);
}

buffer_impl::copy& buffer_impl::copy_in(const memory_space& space) {
    for (const auto& each : copies_) {
        if (each->space.context == space.context) {
            return *each;
        }
    }
    // The memory last, when nothing else can fail that would lose it.
    auto made = std::make_unique<copy>(copy{space, nullptr, true, false, nullptr});
    copies_.reserve(copies_.size() + 1);
    made->memory = allocate(space);
    return *copies_.emplace_back(std::move(made));
}

void* buffer_impl::allocate(const memory_space& space) const {
    const std::size_t bytes = std::max<std::size_t>(bytes_, 1);
    const bool on_host = space.context == nullptr;
    void* const memory = on_host ? allocate_on_host(bytes)
                                 : space.context->allocate(usm::alloc::device, bytes, 0, *space.device);
    if (memory == nullptr) {
        throw_no_memory(bytes_, on_host ? "the host" : space.device->facts().name);
    }
    return memory;
}

void buffer_impl::free(const copy& old) const {
    if (!old.owned) {
        return;
    }
    if (old.space.context == nullptr) {
        ::operator delete(old.memory, std::align_val_t(host_alignment));
    } else {
        old.space.context->free(old.memory);
    }
}

/// Where the contents are if \p target does not have them; null if it has, or if nothing was ever written.
const buffer_impl::copy* buffer_impl::other_valid_copy(const copy& target) const {
    if (target.valid) {
        return nullptr;
    }
    const auto found =
        std::find_if(copies_.begin(), copies_.end(), [](const auto& each) { return each->valid; });
    return found == copies_.end() ? nullptr : found->get();
}

void buffer_impl::bring_contents(copy& target, std::vector<std::shared_ptr<command>>& movers) {
    if (target.valid) {
        return;
    }
    const copy* const source = other_valid_copy(target);
    if (source == nullptr) {
        target.valid = true; // never written: there is nothing to bring
        return;
    }
    users_.reserve(users_.size() + 2); // the mover, then the user
    movers.reserve(movers.size() + 1);
    const auto mover = make_mover(target, *source);
    target.producer = mover;
    target.valid = true;
    users_.push_back(mover);
    movers.push_back(mover);
}

/// A copy between memories is a command of its own: it reads one copy of the buffer and produces another.
std::shared_ptr<command> buffer_impl::make_mover(const copy& target, const copy& source) {
    auto mover = std::make_shared<command>(nullptr);
    mover->keep(shared_from_this());
    mover->set_action(
        [to = target.memory, from = source.memory, n = bytes_](const std::shared_ptr<command>& self) {
            const auto move = [=] {
                std::memcpy(to, from, n);
                self->finish(nullptr);
            };
            try {
                post_to_host_threads(move);
            } catch (const std::exception&) {
                move(); // others rely on it
            }
        });
    mover->order_after(source.producer);
    return mover;
}

void buffer_impl::become_writer(copy& target, const std::shared_ptr<command>& user) {
    for (const auto& other : users_) {
        user->order_after(other);
    }
    users_.clear();
    for (const auto& each : copies_) {
        each->valid = false;
        each->producer = nullptr;
    }
    target.valid = true;
    target.producer = user;
}

const void* buffer_impl::wait_for_contents() {
    for (;;) {
        std::shared_ptr<command> pending;
        {
            const std::lock_guard guard(graph_lock());
            const auto found = std::find_if(users_.begin(), users_.end(),
                                            [](const auto& each) { return !each->complete(); });
            if (found == users_.end()) {
                const auto valid = std::find_if(copies_.begin(), copies_.end(),
                                                [](const auto& each) { return each->valid; });
                return valid == copies_.end() ? nullptr : (*valid)->memory;
            }
            pending = *found;
        }
        pending->wait();
    }
}

void buffer_impl::forget_completed() {
    users_.erase(
        std::remove_if(users_.begin(), users_.end(), [](const auto& each) { return each->complete(); }),
        users_.end());
    for (const auto& each : copies_) {
        if (each->producer != nullptr && each->producer->complete()) {
            each->producer = nullptr;
        }
    }
}

} // namespace sycl::detail
