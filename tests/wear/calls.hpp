#pragma once

#include <sycl/sycl.hpp>

#include <functional>
#include <string>
#include <vector>

namespace test {

/// A public call in one of its forms on data of its own, up to the complete result.
struct mixed_call {
    std::string name;
    /// The outputs one after the other; whatever went wrong is thrown, asynchronous errors included.
    std::function<std::vector<double>(sycl::queue&)> results;
};

/// Calls of both forms, layouts and types, with and without weights and mask, whose results are the same bits each time.
std::vector<mixed_call> mixed_calls();

/// A queue whose asynchronous errors are thrown by wait_and_throw().
sycl::queue throwing_queue(const sycl::context& context, const sycl::device& device);

} // namespace test
