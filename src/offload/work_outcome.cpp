#include "work_outcome.hpp"

namespace aurelo::qtx::stats::detail::openmp {

sycl::async_handler first_error::recorder() const {
    return [state = state_](const sycl::exception_list& errors) {
        const std::lock_guard guard(state->lock);
        if (state->error == nullptr && errors.size() != 0) {
            state->error = *errors.begin();
        }
    };
}

void first_error::rethrow() const {
    std::exception_ptr error;
    {
        const std::lock_guard guard(state_->lock);
        error = state_->error;
    }
    if (error != nullptr) {
        std::rethrow_exception(error);
    }
}

work_outcome work_outcome::of_own_queue(const sycl::queue& queue, const first_error& error) {
    work_outcome made;
    made.own_queue_ = queue;
    made.error_ = error;
    return made;
}

work_outcome work_outcome::of_callers_queue() {
    work_outcome made;
    made.confirmed_ = std::make_shared<std::atomic<bool>>(false);
    return made;
}

void work_outcome::require_success() {
    if (own_queue_.has_value()) {
        own_queue_->throw_asynchronous();
        error_->rethrow();
    } else if (confirmed_ != nullptr && !*confirmed_) {
        throw sycl::exception(
            sycl::errc::runtime,
            "the work failed while it ran; the handler of the caller's queue gets the error");
    }
}

} // namespace aurelo::qtx::stats::detail::openmp
