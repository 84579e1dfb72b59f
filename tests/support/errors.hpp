#pragma once

#include <sycl/sycl.hpp>

#include <memory>
#include <string>
#include <vector>

namespace test {

/// A handler of asynchronous errors that keeps what they say; its copies share that.
struct recorder {
    std::shared_ptr<std::vector<std::string>> messages = std::make_shared<std::vector<std::string>>();

    void operator()(const sycl::exception_list& errors) const {
        for (const auto& each : errors) {
            try {
                std::rethrow_exception(each);
            } catch (const std::exception& known) {
                messages->push_back(known.what());
            }
        }
    }
};

} // namespace test
