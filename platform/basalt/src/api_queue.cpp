// Command queues and immediate command lists: the same operations on two kinds of handle.
#include "error.hpp"
#include "stream.hpp"

#include <basalt/basalt.h>

using basalt::guarded;
using basalt::require;

namespace {

template <typename Handle>
bs_result_t create(bs_context_handle_t context, bs_device_handle_t device, uint8_t in_order,
                   Handle** stream) {
    return guarded([&] {
        require(context, "context");
        require(device, "device");
        require(stream, "the output handle");
        *stream = new Handle(*context, *device, in_order != 0);
    });
}

template <typename Handle>
bs_result_t destroy(Handle* stream) {
    return guarded([&] {
        require(stream, "handle");
        delete stream;
    });
}

bs_result_t synchronize(basalt::stream* stream) {
    return guarded([&] {
        require(stream, "handle");
        stream->synchronize();
    });
}

bs_result_t get_context(const basalt::stream* stream, bs_context_handle_t* context,
                        bs_device_handle_t* device) {
    return guarded([&] {
        require(stream, "handle");
        if (context != nullptr) {
            *context = &stream->context();
        }
        if (device != nullptr) {
            *device = &stream->device();
        }
    });
}

bs_result_t submit(basalt::stream* stream, const bs_command_t* command) {
    return guarded([&] {
        require(stream, "handle");
        require(command, "command");
        stream->submit(*command);
    });
}

} // namespace

bs_result_t bs_command_queue_create(bs_context_handle_t context, bs_device_handle_t device, uint8_t in_order,
                                    bs_command_queue_handle_t* queue) {
    return create(context, device, in_order, queue);
}

bs_result_t bs_command_queue_destroy(bs_command_queue_handle_t queue) {
    return destroy(queue);
}

bs_result_t bs_command_queue_synchronize(bs_command_queue_handle_t queue) {
    return synchronize(queue);
}

bs_result_t bs_command_queue_get_context(bs_command_queue_handle_t queue, bs_context_handle_t* context,
                                         bs_device_handle_t* device) {
    return get_context(queue, context, device);
}

bs_result_t bs_command_queue_submit(bs_command_queue_handle_t queue, const bs_command_t* command) {
    return submit(queue, command);
}

bs_result_t bs_command_list_create_immediate(bs_context_handle_t context, bs_device_handle_t device,
                                             uint8_t in_order, bs_command_list_handle_t* list) {
    return create(context, device, in_order, list);
}

bs_result_t bs_command_list_destroy(bs_command_list_handle_t list) {
    return destroy(list);
}

bs_result_t bs_command_list_synchronize(bs_command_list_handle_t list) {
    return synchronize(list);
}

bs_result_t bs_command_list_get_context(bs_command_list_handle_t list, bs_context_handle_t* context,
                                        bs_device_handle_t* device) {
    return get_context(list, context, device);
}

bs_result_t bs_command_list_append(bs_command_list_handle_t list, const bs_command_t* command) {
    return submit(list, command);
}
