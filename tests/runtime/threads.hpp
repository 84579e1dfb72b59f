#pragma once

#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

namespace test {

/// Runs body(0) to body(n - 1) on threads that start together; returns their results.
template <typename Body>
auto on_threads(std::size_t n, Body body) {
    std::vector<decltype(body(std::size_t{}))> results(n);
    std::barrier start(static_cast<std::ptrdiff_t>(n));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < n; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            results[i] = body(i);
        });
    }
    for (auto& each : threads) {
        each.join();
    }
    return results;
}

} // namespace test
