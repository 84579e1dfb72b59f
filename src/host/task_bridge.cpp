#include "task_bridge.hpp"

#include <stats/exception.hpp>

#include <utility>

namespace aurelo::qtx::stats::detail {

void check_status(std::int32_t status) {
    if (status != 0) {
        throw computation_error("stats", "", "");
    }
}

void delete_task(void** task) {
    check_status(tsbSSDeleteTask(task));
}

owned_task::~owned_task() {
    if (task_ != nullptr) {
        tsbSSDeleteTask(&task_);
    }
}

void owned_task::finish() {
    void* task = std::exchange(task_, nullptr);
    delete_task(&task);
}

} // namespace aurelo::qtx::stats::detail
