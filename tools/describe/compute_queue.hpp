#pragma once

#include <exception>
#include <memory>
#include <vector>

#include <sycl/sycl.hpp>

namespace aurelo::qtx::describe {

/// A queue that keeps asynchronous errors until its commands are waited for.
class compute_queue {
public:
    explicit compute_queue(const sycl::device& device);
    compute_queue(const sycl::context& context, const sycl::device& device);

    sycl::queue& get() { return queue_; }

    /// Waits for all commands and throws the first of their errors.
    void finish();

private:
    std::shared_ptr<std::vector<std::exception_ptr>> errors_;
    sycl::queue queue_;
};

} // namespace aurelo::qtx::describe
