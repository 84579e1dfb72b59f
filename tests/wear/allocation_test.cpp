// Every allocation of a call fails in turn on the caller's thread, alone or with all that follow: each time
// the call ends with an error that says so, or with the right result, and the next call succeeds.
#include "calls.hpp"
#include "failing_new.hpp"
#include "support/devices.hpp"
#include "support/optional.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <new>
#include <string>

namespace {

using namespace test;

constexpr int most_allocations = 100000;

enum class outcome { not_reached, result, error };

class allocation_failures : public testing::TestWithParam<mixed_call> {
protected:
    void fail_each_in_turn(const sycl::device& device) {
        const sycl::context context(
            device); // one, since no driver survives a failure while it compiles a kernel
        sycl::queue sound = throwing_queue(context, device);
        const auto expected = GetParam().results(sound);
        for (const bool lasting : {false, true}) {
            int errors = 0, results = 0;
            for (int n = 0; n < most_allocations; ++n) {
                SCOPED_TRACE("allocation " + std::to_string(n) +
                             (lasting ? " and all that follow" : " alone"));
                sycl::queue queue = throwing_queue(context, device); // one that has kept no memory for errors
                const outcome ended = call_with_failure(queue, n, lasting, expected);
                EXPECT_EQ(GetParam().results(queue), expected) << "the call after it";
                if (ended == outcome::not_reached || HasFailure()) {
                    break;
                }
                ++(ended == outcome::error ? errors : results);
            }
            EXPECT_GT(errors, 3) << "too few allocations seen";
            std::printf("%s on %s: %s, %d faults: %d errors, %d results\n", GetParam().name.c_str(),
                        device.get_info<sycl::info::device::name>().c_str(), lasting ? "lasting" : "single",
                        errors + results, errors, results);
        }
    }

private:
    static outcome call_with_failure(sycl::queue& queue, int n, bool lasting,
                                     const std::vector<double>& expected) {
        try {
            const failing_new failure(n, lasting);
            const auto results = GetParam().results(queue);
            const bool reached = failure.reached();
            EXPECT_EQ(results, expected);
            return reached ? outcome::result : outcome::not_reached;
        } catch (const std::exception& error) {
            EXPECT_NE(std::string(error.what()), "");
            forget_other_errors(queue);
            return outcome::error;
        }
    }

    /// Errors that had no memory to be told are kept, and would be told by the next call.
    static void forget_other_errors(sycl::queue& queue) {
        try {
            queue.wait_and_throw();
        } catch (const std::exception& error) {
            EXPECT_NE(std::string(error.what()), "");
        }
    }
};

} // namespace

TEST_P(allocation_failures, on_a_cpu) {
    fail_each_in_turn(sycl::device(sycl::cpu_selector_v));
}

TEST_P(allocation_failures, on_a_gpu_in_several_passes) {
    fail_each_in_turn(gpu_with_limit(4));
}

#ifdef WEAR_ON_OPENCL
TEST_P(allocation_failures, on_an_opencl_device) {
    const auto devices = opencl_gpus();
    if (devices.empty()) {
        SUPPORT_MISSING("no OpenCL device");
    }
    fail_each_in_turn(devices.front());
}
#endif

INSTANTIATE_TEST_SUITE_P(calls, allocation_failures, testing::ValuesIn(mixed_calls()),
                         [](const auto& chosen) { return "number" + std::to_string(chosen.index); });
