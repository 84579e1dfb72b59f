#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <sycl/sycl.hpp>

#include "report.hpp"

namespace aurelo::qtx::describe {

/// The device that --device \p choice means.
/// \throws input_error if there is none of the kind.
sycl::device find_device(const std::string& choice);

device_facts facts_of(const sycl::device& device);

/// Every device with its platform, type, work-group limit, local memory and support of double.
std::string device_list(bool styled);

/// A queue that keeps asynchronous errors until its commands are waited for.
class compute_queue {
public:
    explicit compute_queue(const sycl::device& device);

    sycl::queue& get() { return queue_; }

    /// Waits for all commands and throws the first of their errors.
    void finish();

private:
    std::shared_ptr<std::vector<std::exception_ptr>> errors_;
    sycl::queue queue_;
};

} // namespace aurelo::qtx::describe
