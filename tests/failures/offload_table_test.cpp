// What an offload entry answers, prints and leaves behind when something fails: on each foreign run-time, for calls that
// wait and for calls that do not.
#include "child.hpp"
#include "injector.hpp"
#include "offload_call.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace test;

enum class failure {
    address_space,     ///< too little of it for the call's scratch memory
    submission,        ///< the driver refuses the first command
    second_submission, ///< and the second one, when the first is under way
    execution,         ///< a command fails while it runs
    callback_status,   ///< OpenCL tells the completion's callback of a failure
    callback,          ///< OpenCL refuses the completion's callback
    runtime_callback,  ///< OpenCL refuses the one by which the run-time learns that a command is over
    threads            ///< none can be started any more
};

struct answer_of_entry {
    int status;
    const char* printed; ///< how the one line on stderr begins; "" for none
    unsigned completions;
};

struct device_row {
    const char* name;
    interop_device* (*device)();
};

constexpr device_row basalt_row{"basalt", [] { return &software_gpu(); }};
constexpr device_row sycl_row{"SYCL", [] { return &sycl_gpu(); }};
constexpr device_row handled_row{"SYCL with handler", [] { return &sycl_gpu_with_handler(); }};
constexpr device_row opencl_row{"OpenCL", [] { return opencl(); }};
constexpr device_row unordered_row{"OpenCL out of order", [] { return opencl_out_of_order(); }};

constexpr char sycl_error[] = "Qtx Stats: sycl::exception what: ";
constexpr char standard_error[] = "Qtx Stats: std::exception what: ";
constexpr char no_completion[] = "Qtx Stats: no completion for interop object ";

struct expectation {
    const char* name;
    failure what;
    std::vector<device_row> devices;
    std::optional<answer_of_entry> waiting;
    answer_of_entry nowait;
};

const std::vector<device_row> all_rows{basalt_row, sycl_row, handled_row, opencl_row, unordered_row};
const std::vector<device_row> thread_rows{basalt_row, sycl_row, handled_row};
const std::vector<device_row> opencl_rows{opencl_row, unordered_row};

const std::vector<expectation> table{
    {"address space", failure::address_space, all_rows, {{-2, sycl_error, 0}}, {-2, sycl_error, 0}},
    {"submission", failure::submission, all_rows, {{-2, sycl_error, 0}}, {-2, sycl_error, 0}},
    // The software GPU is given a command when those before it are over.
    {"second submission",
     failure::second_submission,
     thread_rows,
     {{-2, sycl_error, 0}},
     {0, no_completion, 0}},
    {"second submission",
     failure::second_submission,
     opencl_rows,
     {{-2, sycl_error, 0}},
     {-2, sycl_error, 0}},
    {"execution", failure::execution, all_rows, {{-2, sycl_error, 0}}, {0, no_completion, 0}},
    {"callback status", failure::callback_status, opencl_rows, {}, {0, no_completion, 0}},
    {"callback", failure::callback, opencl_rows, {}, {-2, "", 0}},
    {"run-time's callback", failure::runtime_callback, opencl_rows, {{0, "", 0}}, {0, "", 1}},
    {"threads", failure::threads, thread_rows, {{0, "", 0}}, {-2, standard_error, 0}},
    {"threads", failure::threads, opencl_rows, {{0, "", 0}}, {0, "", 1}},
};

struct cell {
    std::string failure_name;
    failure what;
    device_row device;
    bool nowait;
    answer_of_entry expected;
    friend void PrintTo(const cell& which, std::ostream* out) {
        *out << which.failure_name << ", " << which.device.name << (which.nowait ? ", nowait" : ", waiting");
    }
};

std::vector<cell> cells() {
    std::vector<cell> list;
    for (const auto& row : table) {
        for (const auto& device : row.devices) {
            if (row.waiting.has_value()) {
                list.push_back({row.name, row.what, device, false, *row.waiting});
            }
            list.push_back({row.name, row.what, device, true, row.nowait});
        }
    }
    return list;
}

fault fault_of(failure what, bool is_opencl, const void* interop) {
    const char* const submits = is_opencl ? "clEnqueueNDRangeKernel" : "bs_command_queue_submit";
    const char* const callback = "clSetEventCallback";
    switch (what) {
    case failure::submission:
        return {.family = call_family::driver, .function = submits};
    case failure::second_submission:
        return {.family = call_family::driver, .nth = 1, .function = submits};
    case failure::execution:
        return {.family = call_family::execution};
    case failure::callback_status:
        return {.family = call_family::execution, .function = callback, .user = interop};
    case failure::callback:
        return {.family = call_family::driver, .function = callback, .user = interop};
    case failure::runtime_callback:
        return {.family = call_family::driver, .function = callback};
    case failure::address_space:
    case failure::threads:
        break;
    }
    return {.family = call_family::threads, .lasting = true};
}

/// Leaves the process a little more than the address space that it has.
class address_space_limit {
public:
    address_space_limit() {
        getrlimit(RLIMIT_AS, &before_);
        rlimit now = before_;
        std::ifstream file("/proc/self/statm");
        rlim_t pages = 0;
        file >> pages;
        now.rlim_cur = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (1 << 18);
        setrlimit(RLIMIT_AS, &now);
    }
    ~address_space_limit() { setrlimit(RLIMIT_AS, &before_); }
    address_space_limit(const address_space_limit&) = delete;
    address_space_limit& operator=(const address_space_limit&) = delete;

private:
    rlimit before_{};
};

/// What a child tells, in shared memory.
struct report {
    bool missing = false;
    int status = 1;
    unsigned completions = 0;
    int handler_errors = 0;
    long left_behind = 0; ///< objects of the driver and open files
    bool sound_afterwards = false;
    shared_text printed;
    shared_text contradiction;
};

class offload_table : public testing::TestWithParam<cell> {
protected:
    void SetUp() override {
        const std::string device = which.device.name;
        if (device.rfind("OpenCL", 0) == 0) {
#ifndef QTX_TEST_DEVICE_IMAGES
            GTEST_SKIP() << "no device images in this build";
#endif
        } else {
            setenv("OCL_ICD_VENDORS", "/nowhere", 1); // finding no driver takes no time
        }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        if (which.what == failure::address_space) {
            GTEST_SKIP() << "the sanitizer needs the address space";
        }
#endif
    }
    void TearDown() override {
        unsetenv("OCL_ICD_VENDORS");
    }

    void run_in_child() {
        mallopt(M_MMAP_THRESHOLD, 1 << 16); // no memory is left over from larger tasks,
        mallopt(M_ARENA_MAX, 1);            // or reserved for other threads
        auto* const device = which.device.device();
        told->missing = device == nullptr;
        if (told->missing) {
            return;
        }
        const offload_call::form small{.estimates = est_kurtosis, .nowait = which.nowait};
        auto form = small;
        form.n_dims = which.what == failure::address_space ? 10000 : 2;
        if (which.what == failure::second_submission) {
            form.n_observations = 10000; // several passes
            form.held = which.nowait && device->runtime != OMPTARGET_FR_OPENCL;
        }
        offload_call sound(*device, small), failing(*device, form);
        run(sound);
        auto unheld = form;
        unheld.held = false;
        offload_call first(*device, unheld); // kernels that are built once stay
        run(first);
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // threads of the driver let go
        const auto before = settled();
        run_with_failure(failing, device->runtime == OMPTARGET_FR_OPENCL);
        told->status = failing.status;
        told->completions = failing.completions;
        told->handler_errors = failing.handler_errors;
        told->printed.set(failing.printed);
        told->contradiction.set(failing.contradiction());
        run(sound);
        told->sound_afterwards = sound.status == 0 && sound.contradiction().empty() && sound.printed.empty();
        const auto after = settled(before, 100);
        told->left_behind = after.driver_objects - before.driver_objects + after.files - before.files;
        if (device == &sycl_gpu()) {
            _exit(0); // the end of a queue without a handler, which is the caller's, ends the process
        }
    }

    void use_once() {
        if (auto* const device = which.device.device()) {
            offload_call call(*device, {.estimates = est_kurtosis});
            run(call);
        }
    }

    static void run(offload_call& call) {
        call.prepare();
        call.call();
        call.conclude();
    }

    void run_with_failure(offload_call& call, bool is_opencl) {
        call.prepare();
        const char* failed = nullptr;
        if (which.what == failure::address_space) {
            const address_space_limit limit;
            call.call();
        } else {
            const injection injected(fault_of(which.what, is_opencl, call.interop()), failed);
            call.call();
        }
        call.conclude();
    }

    void print_row() const {
        std::string words = told->printed.text;
        std::replace(words.begin(), words.end(), '\n', '|');
        static const bool first =
            std::printf("%-17s | %-19s | %-7s | %6s | %10s | %7s | %4s | %s\n", "failure", "run-time", "call",
                        "status", "completion", "handler", "left", "stderr") != 0;
        static_cast<void>(first);
        std::printf("%-17s | %-19s | %-7s | %6d | %10u | %7d | %4ld | %.100s\n", which.failure_name.c_str(),
                    which.device.name, which.nowait ? "nowait" : "waiting", told->status, told->completions,
                    told->handler_errors, told->left_behind, words.c_str());
    }

    const cell which = GetParam();
    const shared_value<report> told;
};

INSTANTIATE_TEST_SUITE_P(cells, offload_table, testing::ValuesIn(cells()), [](const auto& chosen) {
    std::string name = testing::PrintToString(chosen.param);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; },
        '_');
    return name;
});

} // namespace

TEST_P(offload_table, answers_and_leaves_nothing) {
    std::string end, printed;
    {
        const captured_stderr captured;
        // Compiled now, kernels are kept for the process that must not have the compiler's memory.
        ending_in_child(30, [this] { use_once(); });
        end = ending_in_child(30, [this] { run_in_child(); });
        printed = captured_stderr::text();
    }
    if (told->missing) {
        GTEST_SKIP() << "no OpenCL device";
    }
    print_row();
    ASSERT_EQ(end, "") << printed;
    EXPECT_STREQ(told->contradiction.text, "");
    EXPECT_EQ(told->status, which.expected.status);
    EXPECT_EQ(told->completions, which.expected.completions);
    const std::string words = told->printed.text, expected = which.expected.printed;
    EXPECT_EQ(words.substr(0, std::max<std::size_t>(expected.size(), 1)), expected);
    EXPECT_EQ(std::count(words.begin(), words.end(), '\n'), expected.empty() ? 0 : 1) << words;
    if (which.what == failure::execution && which.device.name == std::string(handled_row.name)) {
        EXPECT_NE(told->handler_errors, 0);
    }
    const bool keeps_an_event = expected == no_completion && which.device.name[0] == 'O';
    EXPECT_EQ(told->left_behind, keeps_an_event ? 1 : 0);
    EXPECT_TRUE(told->sound_afterwards);
}
