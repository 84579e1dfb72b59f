// Calls of all kinds from several threads for as long as QTX_SOAK_SECONDS says: results stay the same, memory does too.
#include "calls.hpp"
#include "support/devices.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#include <malloc.h>
#include <unistd.h>

namespace {

using namespace test;
using clock_type = std::chrono::steady_clock;

constexpr int n_threads = 8;

/// Without what the allocator keeps although it is free.
double resident_megabytes() {
    malloc_trim(0);
    std::ifstream file("/proc/self/statm");
    long total = 0, resident = 0;
    file >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

std::vector<sycl::device> all_devices() {
    std::vector<sycl::device> devices{sycl::device(sycl::cpu_selector_v), gpu_with_limit(4),
                                      gpu_with_limit(medium_limit)};
    for (const auto& each : opencl_gpus()) {
        devices.push_back(each);
    }
    return devices;
}

class soak {
public:
    soak() : devices_(all_devices()), calls_(mixed_calls()) {
        for (const auto& device : devices_) {
            sycl::queue queue = throwing_queue(sycl::context(device), device);
            for (const auto& call : calls_) {
                expected_[{&device, &call}] = call.results(queue);
            }
        }
    }

    /// Calls made until \p end; stops at the first failure.
    long run_until(clock_type::time_point end, std::uint64_t seed) {
        std::atomic<long> made{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < n_threads; ++i) {
            threads.emplace_back(
                [&, random = std::mt19937_64(seed + static_cast<std::uint64_t>(i))]() mutable {
                    while (clock_type::now() < end && !testing::Test::HasFailure()) {
                        made += use_one_queue(random);
                    }
                });
        }
        for (auto& each : threads) {
            each.join();
        }
        return made;
    }

private:
    int use_one_queue(std::mt19937_64& random) {
        const auto& device = devices_[random() % devices_.size()];
        sycl::queue queue = throwing_queue(sycl::context(device), device);
        const int n_calls = 1 + static_cast<int>(random() % 20);
        for (int i = 0; i < n_calls; ++i) {
            const auto& call = calls_[random() % calls_.size()];
            EXPECT_EQ(call.results(queue), (expected_.at({&device, &call})))
                << call.name << " on " << device.get_info<sycl::info::device::name>();
        }
        return n_calls;
    }

    std::vector<sycl::device> devices_;
    std::vector<mixed_call> calls_;
    std::map<std::pair<const sycl::device*, const mixed_call*>, std::vector<double>> expected_;
};

} // namespace

TEST(wear, mixed_calls_from_many_threads_keep_results_and_memory) {
    const char* const text = std::getenv("QTX_SOAK_SECONDS");
    const auto duration = std::chrono::milliseconds(text == nullptr ? 4000 : 1000 * std::stol(text));
    const auto seed = static_cast<std::uint64_t>(std::random_device{}());
    SCOPED_TRACE("seed " + std::to_string(seed));
    soak calls;
    const auto start = clock_type::now();
    const long warm = calls.run_until(start + duration / 4, seed);
    const double before = resident_megabytes();
    const long made = calls.run_until(start + duration, seed + n_threads);
    const double after = resident_megabytes();
    std::printf("%ld calls, %.1f MB resident; then %ld calls, %.1f MB resident\n", warm, before, made, after);
    EXPECT_GT(made, n_threads);
#if !defined(__SANITIZE_ADDRESS__) &&                                                                        \
    !defined(__SANITIZE_THREAD__) // they keep what was freed, and notes of their own
    EXPECT_LT(after, before * 1.02 + 4);
#endif
}
