// The pieces of one command, dealt out to the worker threads that take part in it.
#pragma once

#include "error.hpp"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <mutex>

namespace basalt {

class claims {
public:
    struct range {
        std::size_t begin;
        std::size_t end;
        bool empty() const { return begin >= end; }
    };

    claims(std::size_t n_pieces, std::size_t n_workers)
        : n_pieces_(n_pieces), step_(std::clamp<std::size_t>(n_pieces / (n_workers * rounds), 1, max_step)) {}

    /// The next pieces, or an empty range when all are dealt or one has failed.
    range next() {
        if (exhausted()) {
            return {0, 0};
        }
        const std::size_t begin = next_.fetch_add(step_, std::memory_order_relaxed);
        return {begin, std::min(begin + step_, n_pieces_)};
    }

    /// How many workers can get something at most.
    std::size_t max_claims() const { return (n_pieces_ + step_ - 1) / step_; }
    bool exhausted() const { return failed() || next_.load(std::memory_order_relaxed) >= n_pieces_; }
    bool failed() const { return failed_.load(std::memory_order_relaxed); }

    /// Stops the dealing; the first failure counts.
    void fail(failure why) {
        const std::lock_guard lock(mutex_);
        if (!why_) {
            why_ = std::move(why);
        }
        failed_.store(true, std::memory_order_relaxed);
    }

    /// The first failure, if there was one; called once.
    failure take_failure() {
        const std::lock_guard lock(mutex_);
        return std::move(why_);
    }

private:
    // Small pieces are claimed several at a time, but few enough to share the end of a launch evenly.
    static constexpr std::size_t rounds = 16;
    static constexpr std::size_t max_step = 256;

    const std::size_t n_pieces_;
    const std::size_t step_;
    alignas(64) std::atomic<std::size_t> next_{0};
    std::atomic<bool> failed_{false};
    std::mutex mutex_;
    failure why_;
};

} // namespace basalt
