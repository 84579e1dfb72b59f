#pragma once

#include <sycl/sycl.hpp>

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>

namespace aurelo::qtx::stats::detail::openmp {

/**
 * \brief The first asynchronous error of a queue that the library has made. Copies share it; safe on any thread.
 */
class first_error {
public:
    /** \brief A handler for the queue: it keeps the first error and drops the others. */
    sycl::async_handler recorder() const;

    /** \brief Throws the error, if there is one. */
    void rethrow() const;

private:
    struct state {
        std::mutex lock;
        std::exception_ptr error;
    };
    std::shared_ptr<state> state_ = std::make_shared<state>();
};

/**
 * \brief Whether the work of an entry has succeeded, to be asked when it is over.
 *
 * A queue of the library's own reports its errors to a first_error. The errors of a caller's queue belong to the caller's
 * handler; there a host task that depends on all the work shows success, since it does not run if something failed.
 */
class work_outcome {
public:
    static work_outcome of_own_queue(const sycl::queue& queue, const first_error& error);
    static work_outcome of_callers_queue();

    /** \brief Whether a host task behind all the work has to call the confirmation(). */
    bool needs_confirmation() const { return confirmed_ != nullptr; }
    /** \brief What that host task does. Without the need for it, it does nothing. */
    auto confirmation() const {
        return [confirmed = confirmed_] {
            if (confirmed != nullptr) {
                *confirmed = true;
            }
        };
    }

    /** \brief Throws the first error of the work, which is over. */
    void require_success();

private:
    std::optional<sycl::queue> own_queue_;
    std::optional<first_error> error_;
    std::shared_ptr<std::atomic<bool>> confirmed_;
};

} // namespace aurelo::qtx::stats::detail::openmp
