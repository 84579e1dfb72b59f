#include "interop.hpp"

#include <chrono>

namespace {

void call_complete(void* interop) {
    static_cast<omptarget_interop_s*>(interop)->complete();
}

} // namespace

omptarget_interop_s::omptarget_interop_s(int runtime, int backend_kind) : backend_kind_(backend_kind) {
    reads_.reserve(max_reads);
    ints_[OMPTARGET_FR_ID] = runtime;
    pointers_[OMPTARGET_NOWAIT] = &nowait_;
    pointers_[OMPTARGET_COMPLETION] = reinterpret_cast<void*>(&call_complete);
    if (backend_kind != 0) {
        pointers_[OMPTARGET_BACKEND_KIND] = &backend_kind_;
    }
}

template <typename Values, typename Value>
int omptarget_interop_s::read(const Values& values, int property, Value& value) {
    const std::lock_guard guard(lock_);
    if (reads_.size() < max_reads) {
        reads_.push_back(property);
    }
    const auto found = values.find(property);
    if (found != values.end()) {
        value = found->second;
    }
    if (const auto failure = failures_.find(property); failure != failures_.end()) {
        return failure->second;
    }
    return found == values.end() ? OMPTARGET_RC_OUT_OF_RANGE : 0;
}

int omptarget_interop_s::read_pointer(int property, void*& value) {
    return read(pointers_, property, value);
}

int omptarget_interop_s::read_int(int property, std::intptr_t& value) {
    return read(ints_, property, value);
}

void omptarget_interop_s::set_pointer(int property, void* value) {
    const std::lock_guard guard(lock_);
    pointers_[property] = value;
}

void omptarget_interop_s::set_int(int property, std::intptr_t value) {
    const std::lock_guard guard(lock_);
    ints_[property] = value;
}

void omptarget_interop_s::fail(int property, int status) {
    const std::lock_guard guard(lock_);
    if (status == 0) {
        failures_.erase(property);
    } else {
        failures_[property] = status;
    }
}

void omptarget_interop_s::set_nowait(bool nowait) {
    const std::lock_guard guard(lock_);
    nowait_ = nowait ? 1 : 0;
}

std::vector<int> omptarget_interop_s::reads() const {
    const std::lock_guard guard(lock_);
    return reads_;
}

void omptarget_interop_s::complete() {
    // Notified under the lock: a program that was waiting may destroy the object as soon as it wakes.
    const std::lock_guard guard(lock_);
    ++completions_;
    completed_.notify_all();
}

unsigned omptarget_interop_s::completions() const {
    const std::lock_guard guard(lock_);
    return completions_;
}

bool omptarget_interop_s::wait(unsigned count, unsigned timeout_ms) {
    std::unique_lock guard(lock_);
    return completed_.wait_for(guard, std::chrono::milliseconds(timeout_ms),
                               [&] { return completions_ >= count; });
}
