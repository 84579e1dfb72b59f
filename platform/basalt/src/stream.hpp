// What command queues and immediate command lists have in common: the order of commands.
#pragma once

#include "context.hpp"
#include "device.hpp"
#include "event.hpp"

#include <basalt/basalt.h>

#include <mutex>
#include <vector>

namespace basalt {

class stream {
public:
    /// Throws if the device is not the context's, or has no thread to run on.
    stream(basalt::context& context, basalt::device& device, bool in_order);
    ~stream();
    stream(const stream&) = delete;
    stream& operator=(const stream&) = delete;

    basalt::context& context() const { return *context_; }
    basalt::device& device() const { return *device_; }

    void submit(const bs_command_t& command);
    /// Blocks until all commands submitted so far have completed.
    void synchronize();

private:
    void make_room();

    basalt::context* context_;
    basalt::device* device_;
    const bool in_order_;

    std::mutex mutex_;
    event_ref last_; ///< of an in-order stream
    std::vector<event_ref> unfinished_;
    std::size_t prune_at_;
};

} // namespace basalt

// Two kinds of handle, so that nobody takes one for the other.
struct _bs_command_queue_handle_t : basalt::stream {
    using stream::stream;
};
struct _bs_command_list_handle_t : basalt::stream {
    using stream::stream;
};
