#include "compute_queue.hpp"

namespace aurelo::qtx::describe {

compute_queue::compute_queue(const sycl::device& device) : compute_queue(sycl::context(device), device) {}

compute_queue::compute_queue(const sycl::context& context, const sycl::device& device)
    : errors_(std::make_shared<std::vector<std::exception_ptr>>()),
      queue_(context, device, [errors = errors_](const sycl::exception_list& list) {
          errors->insert(errors->end(), list.begin(), list.end());
      }) {}

void compute_queue::finish() {
    queue_.wait_and_throw();
    if (!errors_->empty()) {
        const std::exception_ptr first = errors_->front();
        errors_->clear();
        std::rethrow_exception(first);
    }
}

} // namespace aurelo::qtx::describe
