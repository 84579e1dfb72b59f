#pragma once

extern "C" {

/// Offered by the process to the module.
__attribute__((visibility("default"))) void order_event(const char* what);

/// Offered by the module: fills the caches; whether the object built first keeps the contexts, the second the
/// queues.
__attribute__((visibility("default"))) bool order_probe_first_is_contexts();
}
