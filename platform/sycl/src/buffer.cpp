#include "command.hpp"
#include "host_threads.hpp"

#include <sycl/host_accessor.hpp>

#include <cstring>
#include <exception>
#include <utility>

namespace sycl::detail {

namespace {

/// A command that gives the host the buffer: it starts when the contents are there, and ends when \p action
/// ends it.
std::shared_ptr<command> use_on_host(const requirement& use, command::action action) {
    auto holder = std::make_shared<command>(nullptr);
    holder->keep(use.buffer);
    holder->set_action(std::move(action));
    holder->submit({}, nullptr, {use}, {});
    return holder;
}

void* host_address(buffer_impl& buffer) {
    const std::lock_guard guard(graph_lock());
    return buffer.address({});
}

} // namespace

buffer_handle::buffer_handle(std::size_t bytes, void* host)
    : impl_(std::make_shared<buffer_impl>(bytes, host)), over_host_memory_(host != nullptr) {}

void* buffer_handle::initialise() {
    const std::lock_guard guard(graph_lock());
    impl_->mark_valid_on_host();
    return impl_->address({});
}

void buffer_handle::set_final(final_copy copy) {
    if (copy) {
        host_address(*impl_); // now, since a destructor cannot tell that there is no memory
    }
    write_back_ = false;
    final_ = std::move(copy);
}

void buffer_handle::set_write_back(bool write_back) {
    write_back_ = write_back;
}

buffer_handle::~buffer_handle() {
    if (!over_host_memory_ && !final_) {
        return;
    }
    try {
        hand_back();
    } catch (const std::exception&) {
        hand_back_without_memory();
    }
}

/// As a writer this follows every command that uses the host's memory, readers included.
void buffer_handle::hand_back() {
    const bool wants_contents = write_back_ || final_;
    const requirement use{impl_, access_mode::read_write, !wants_contents};
    void* const data = host_address(*impl_);
    const auto last = use_on_host(use, [data, copy = final_](const std::shared_ptr<command>& self) {
        if (copy) {
            copy(data);
        }
        self->finish(nullptr);
    });
    if (!runtime_thread_scope::active()) {
        last->wait();
    }
}

/// There is no memory for a command, so that this thread does its work.
void buffer_handle::hand_back_without_memory() {
    const void* const contents = impl_->wait_for_contents();
    if (contents == nullptr) {
        return;
    }
    if (final_) {
        final_(contents);
    } else if (write_back_) {
        void* const data = host_address(*impl_); // the user's memory, which is there already
        if (data != contents) {
            std::memcpy(data, contents, impl_->bytes());
        }
    }
}

host_hold::host_hold(const std::shared_ptr<buffer_impl>& buffer, access_mode mode, bool no_init)
    : data_(host_address(*buffer)) {
    command_ = use_on_host({buffer, mode, no_init}, [](const std::shared_ptr<command>&) {});
    command_->wait_for_start();
}

host_hold::~host_hold() {
    command_->finish(nullptr);
}

} // namespace sycl::detail
