// The library is loaded, used and unloaded by a program that is not linked with it.
#include "child.hpp"

#include "offload/task.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <dlfcn.h>

namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr unsigned soon = 20000;

constexpr int rounds = 1000;

/// How many processes do it once.
int processes() {
    return std::getenv("QTX_FAILURES_ALL") != nullptr ? 1000 : 200;
}

[[noreturn]] void fail(const std::string& why) {
    std::fprintf(stderr, "%s\n", why.c_str());
    _exit(1);
}

void* loaded_library() {
    void* const library = dlopen(STATS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    return library != nullptr ? library : (fail(dlerror()), nullptr);
}

bool is_mapped() {
    std::ifstream file("/proc/self/maps");
    const std::string maps(std::istreambuf_iterator<char>(file), {});
    return maps.find("libqtx_sycl_stats") != std::string::npos;
}

/// Loads the library, makes a call up to its end, and unloads the library.
void use_and_unload(interop_device& device, bool nowait) {
    void* const library = loaded_library();
    offload_task<double, std::int64_t> task(device, make<double>({.n_dims = 2, .n_observations = 100}));
    const auto interop = device.interop();
    omptarget_interop_set_nowait(interop.get(), nowait ? 1 : 0);
    const auto compute = reinterpret_cast<decltype(&qtx_tsb_dSSCompute_omp_offload_ilp64)>(
        dlsym(library, "qtx_tsb_dSSCompute_omp_offload_ilp64"));
    if (const int status = compute(task.get(), est_sum, 1, interop.get()); status != 0) {
        fail("status " + std::to_string(status));
    }
    if (nowait && omptarget_interop_wait(interop.get(), 1, soon) == 0) {
        fail("no completion");
    }
    dlclose(library);
    if (task.result(slot_sum)[0] == rubbish<double>) {
        fail("no result");
    }
}

struct back_end {
    const char* name;
    interop_device* (*device)();
    friend void PrintTo(const back_end& which, std::ostream* out) { *out << which.name; }
};

class unloading : public testing::TestWithParam<back_end> {
protected:
    void SetUp() override {
        if (std::string(GetParam().name) == "opencl") {
#ifndef QTX_TEST_DEVICE_IMAGES
            GTEST_SKIP() << "no device images in this build";
#endif
        } else {
            setenv("OCL_ICD_VENDORS", "/nowhere", 1); // finding no driver takes no time
        }
    }
    void TearDown() override {
        unsetenv("OCL_ICD_VENDORS");
    }

    /// How a process ends in which \p body uses the device.
    template <typename Body>
    static std::string ending(const Body& body) {
        return ending_in_child(500, [&] {
            if (auto* const device = GetParam().device()) {
                body(*device);
            }
            _exit(0); // what the caches gave away at each loading, the leak checker could not name
        });
    }
};

INSTANTIATE_TEST_SUITE_P(devices, unloading,
                         testing::Values(back_end{"basalt", [] { return &software_gpu(); }},
                                         back_end{"sycl", [] { return &sycl_gpu(); }},
                                         back_end{"opencl", [] { return opencl(); }}),
                         [](const auto& chosen) { return chosen.param.name; });

} // namespace

TEST_P(unloading, after_waiting_calls_takes_the_mapping_away_each_time) {
    EXPECT_EQ(ending([](interop_device& device) {
                  for (int i = 0; i < rounds; ++i) {
                      use_and_unload(device, false);
                      if (is_mapped()) {
                          fail("still mapped after round " + std::to_string(i));
                      }
                  }
              }),
              "");
}

TEST_P(unloading, after_completions_is_safe_again_and_again) {
    EXPECT_EQ(ending([](interop_device& device) {
                  for (int i = 0; i < rounds; ++i) {
                      use_and_unload(device, true);
                  }
              }),
              "");
}

// The first completion of a process is the one whose thread may find its code gone.
TEST_P(unloading, after_the_first_completion_is_safe) {
    const bool is_slow = std::string(GetParam().name) == "opencl"; // to start
    std::string first;
    int n_failures = 0;
    for (int i = 0; i < processes() / (is_slow ? 20 : 1); ++i) {
        const std::string end = ending([](interop_device& device) {
            use_and_unload(device, true);
            std::this_thread::sleep_for(1ms);
        });
        n_failures += end.empty() ? 0 : 1;
        first = first.empty() ? end : first;
    }
    EXPECT_EQ(n_failures, 0) << "the first process " << first;
}
