#include "work_group.hpp"

#include "error.hpp"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

namespace basalt {

namespace {

/// Unwinds a work-item of a group that has been stopped.
struct item_stopped {};

std::string item_range(std::size_t first, std::size_t count) {
    const std::string from = std::to_string(first);
    return count == 1 ? from : from + " to " + std::to_string(first + count - 1);
}

/// The sizes that reductions use get an inline copy.
void copy_value(void* target, const void* source, std::size_t bytes) {
    switch (bytes) {
    case 4:
        std::memcpy(target, source, 4);
        break;
    case 8:
        std::memcpy(target, source, 8);
        break;
    default:
        std::memcpy(target, source, bytes);
    }
}

} // namespace

void work_group::prepare(const bs_kernel_t& kernel, std::size_t local_memory_bytes, void* instance) {
    kernel_ = &kernel;
    instance_ = instance;
    local_size_ = kernel.local_size;
    free_local_memory_ = local_memory_bytes - kernel.local_memory_bytes;
    if (local_size_ > 1) {
        fibers_.reserve(local_size_);
    }
    if (values_.size() < local_size_ * max_combine_bytes) {
        values_.resize(local_size_ * max_combine_bytes);
    }
}

void work_group::run(std::size_t group_id) {
    const sanitizer::engine_scope hidden;
    group_id_ = group_id;
    started_ = finished_ = arrived_ = 0;
    copies_.reset(local_size_);
    begin_.release();
    if (local_size_ == 1) {
        run_items();
    } else {
        fibers_.enter(0);
    }
    if (stopped_) {
        unwind();
    }
    end_.acquire();
    if (std::exchange(stopped_, false)) {
        throw error(BS_ERROR_KERNEL_FAILED, std::exchange(why_, {}));
    }
}

void work_group::run_fiber(std::size_t index) {
    for (;;) {
        if (!stopped_ && started_ < local_size_) {
            run_items();
        }
        if (stopped_ || finished_ == local_size_) {
            fibers_.leave(index);
        } else {
            fibers_.switch_to(index, next(index));
        }
    }
}

void work_group::run_items() {
    do {
        run_item(started_++);
        // Work-items that share a fiber are one thread to the race detector.
    } while (!sanitizer::detects_races && started_ < local_size_ && !stopped_);
}

template <typename Words>
void work_group::stop(const Words& words) noexcept {
    if (stopped_) {
        return; // the first reason counts
    }
    stopped_ = true;
    try {
        const char* name = kernel_->name != nullptr ? kernel_->name : "without name";
        why_ = "kernel " + std::string(name) + ", group " + std::to_string(group_id_) + ": " + words();
    } catch (...) {
        why_ = "out of memory"; // short enough to need none
    }
}

void work_group::run_item(std::size_t local_id) noexcept {
    const bs_work_item_t item{local_id, group_id_, local_size_, kernel_->n_groups, this};
    try {
        begin_.acquire();
        {
            const sanitizer::kernel_scope visible;
            kernel_->run_item(instance_, &item);
        }
        finish_item(local_id);
    } catch (const item_stopped&) {
    } catch (const std::exception& e) {
        stop([&] { return "work-item " + std::to_string(local_id) + " threw: " + e.what(); });
    } catch (...) {
        stop([&] {
            return "work-item " + std::to_string(local_id) + " threw something that is no std::exception";
        });
    }
    end_.release();
}

void work_group::finish_item(std::size_t local_id) {
    if (stopped_) {
        return;
    }
    if (arrived_ != 0) {
        diverge(local_id, "returned", waiting_items() + " in " + describe(current_));
    }
    if (finished_++ == 0) {
        first_finished_ = local_id;
    }
}

void work_group::barrier(std::size_t local_id) {
    const sanitizer::engine_scope hidden;
    if (leaves_early()) {
        return;
    }
    const meeting here{kind::barrier, 0, copies_.begun(local_id)};
    if (!accepts(local_id, here)) {
        refuse(local_id, here);
    }
    meet(local_id, [] {});
}

void work_group::combine(std::size_t local_id, const void* value, std::size_t bytes, bs_combine_t reduce,
                         void* result) {
    const sanitizer::engine_scope hidden;
    if (leaves_early()) {
        return;
    }
    if (bytes > max_combine_bytes) {
        fail_item("work-item " + std::to_string(local_id) + " combines " + std::to_string(bytes) +
                  " bytes, the limit is " + std::to_string(max_combine_bytes));
    }
    charge(bytes);
    const meeting here{kind::combine, static_cast<std::uint32_t>(bytes), copies_.begun(local_id)};
    if (!accepts(local_id, here)) {
        refuse(local_id, here);
    }
    copy_value(values_.data() + local_id * bytes, value, bytes);
    meet(local_id, [&] {
        const sanitizer::kernel_scope visible;
        reduce(values_.data(), local_size_, result_);
    });
    copy_value(result, result_, bytes);
}

/// Room for a value of each work-item and the results of up to 32 that combine them, as a hardware device needs it.
void work_group::charge(std::size_t bytes) {
    const std::size_t needed = (local_size_ + std::min<std::size_t>(local_size_, 32)) * bytes;
    if (needed > free_local_memory_) {
        fail_item(std::to_string(kernel_->local_memory_bytes + needed) +
                  " bytes of local memory, with those of a combine, are above the device's limit of " +
                  std::to_string(kernel_->local_memory_bytes + free_local_memory_));
    }
}

std::uint64_t work_group::begin_copy(std::size_t local_id, const group_copies::copy& what) {
    const sanitizer::engine_scope hidden;
    std::uint64_t number = 0;
    if (!leaves_early() && !copies_.begin(local_id, what, number)) {
        fail_item("work-item " + std::to_string(local_id) + " began copy " + std::to_string(number) +
                  " of its group with other arguments than the work-items before it");
    }
    return number;
}

void work_group::wait_copy(std::size_t local_id, std::uint64_t number) {
    const sanitizer::engine_scope hidden;
    if (!leaves_early() && !copies_.complete(number)) {
        fail_item("work-item " + std::to_string(local_id) + " waits for copy " + std::to_string(number) +
                  ", which its group has not begun");
    }
}

bool work_group::accepts(std::size_t local_id, const meeting& m) {
    if (arrived_ != 0) {
        return m == current_;
    }
    first_arrived_ = local_id;
    current_ = m;
    return finished_ == 0;
}

void work_group::refuse(std::size_t local_id, const meeting& m) {
    diverge(local_id, "came to " + describe(m),
            arrived_ != 0 ? waiting_items() + " in " + describe(current_)
                          : "work-item " + std::to_string(first_finished_) + " returned without it");
}

template <typename Last>
void work_group::meet(std::size_t local_id, Last&& last) {
    sanitizer::order_point& order = met_[generation_ % 2];
    order.release();
    if (++arrived_ < local_size_) {
        fibers_.switch_to(local_id, next(local_id));
        if (leaves_early()) {
            return;
        }
    } else {
        order.acquire();
        last();
        order.release();
        copies_.settle();
        arrived_ = 0;
        ++generation_;
    }
    order.acquire();
}

void work_group::diverge(std::size_t local_id, const std::string& did, const std::string& others) {
    fail_item("work-items meet in different collectives: work-item " + std::to_string(local_id) + " " + did +
              ", while " + others);
}

void work_group::fail_item(const std::string& words) {
    stop([&] { return words; });
    throw item_stopped{};
}

bool work_group::leaves_early() const {
    if (!stopped_) {
        return false;
    }
    // A destructor that meets others while its work-item is being unwound must not throw again.
    if (std::uncaught_exceptions() == 0) {
        throw item_stopped{};
    }
    return true;
}

void work_group::unwind() {
    if (local_size_ == 1) {
        return;
    }
    // Each fiber either throws out of the collective in which it waits, or has no work-item; both come
    // straight back.
    for (std::size_t i = 0; i < local_size_; ++i) {
        fibers_.enter(i);
    }
}

std::string work_group::waiting_items() const {
    const std::size_t up_to_end = std::min(arrived_, local_size_ - first_arrived_);
    std::string items = item_range(first_arrived_, up_to_end);
    if (arrived_ > up_to_end) {
        items += " and " + item_range(0, arrived_ - up_to_end);
    }
    return arrived_ == 1 ? "work-item " + items + " waits" : "work-items " + items + " wait";
}

std::string work_group::describe(const meeting& m) {
    const std::string what =
        m.what == kind::barrier ? "a barrier" : "a combine of " + std::to_string(m.bytes) + " bytes";
    return m.copies == 0 ? what : what + " after " + std::to_string(m.copies) + " copies";
}

} // namespace basalt
