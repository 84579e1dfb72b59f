#include "error.hpp"
#include "event.hpp"
#include "notifier.hpp"

#include <basalt/basalt.h>

using basalt::guarded;
using basalt::require;

namespace {

bs_result_t outcome(const basalt::event& event) {
    if (event.status() != BS_SUCCESS) {
        basalt::set_last_error(event.message().c_str());
    }
    return event.status();
}

} // namespace

bs_result_t bs_event_create(bs_event_handle_t* event) {
    return guarded([&] {
        require(event, "event");
        basalt::notifier::instance(); // so that completing the event from the host cannot fail
        *event = basalt::event_ref(new basalt::event).detach();
    });
}

bs_result_t bs_event_retain(bs_event_handle_t event) {
    return guarded([&] {
        require(event, "event");
        intrusive_ptr_add_ref(event);
    });
}

bs_result_t bs_event_destroy(bs_event_handle_t event) {
    return guarded([&] {
        require(event, "event");
        intrusive_ptr_release(event);
    });
}

bs_result_t bs_event_signal(bs_event_handle_t event, bs_result_t status) {
    return guarded([&] {
        require(event, "event");
        if (status > BS_SUCCESS) {
            basalt::throw_invalid("status " + std::to_string(status) + " is neither success nor an error");
        }
        event->signal(status);
    });
}

bs_result_t bs_event_query(bs_event_handle_t event) {
    return guarded([&] {
        require(event, "event");
        return event->completed() ? outcome(*event) : BS_NOT_READY;
    });
}

bs_result_t bs_event_wait(bs_event_handle_t event) {
    return guarded([&] {
        require(event, "event");
        event->wait();
        return outcome(*event);
    });
}

bs_result_t bs_event_set_callback(bs_event_handle_t event, bs_event_callback_t callback, void* user) {
    return guarded([&] {
        require(event, "event");
        if (callback == nullptr) {
            basalt::throw_invalid("callback is null");
        }
        event->listen(basalt::listeners_of(callback, user));
    });
}
