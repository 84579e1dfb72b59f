// Each call of a family fails in turn, until a run is undisturbed. Each time the process lives, the use of the library
// ends with an error or with the right results, nothing is left behind, and the next use succeeds.
#include "child.hpp"
#include "scenarios.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

using namespace test;

/// How a family is made to fail.
struct disturbance {
    const char* name;
    call_family family;
    bool lasting;
    /// In a process that has not used the library before, where threads, files and stacks of fibers are made.
    bool cold;
    friend void PrintTo(const disturbance& how, std::ostream* out) { *out << how.name; }
};

constexpr disturbance disturbances[] = {
    {"driver", call_family::driver, false, false},
    {"execution", call_family::execution, false, false},
    {"memory", call_family::memory, false, false},
    {"lasting_memory", call_family::memory, true, false},
    {"threads", call_family::threads, false, false},
    {"cold_driver", call_family::driver, false, true},
    {"cold_execution", call_family::execution, false, true},
    {"cold_memory", call_family::memory, false, true},
    {"cold_mapping", call_family::mapping, false, true},
    {"cold_opening", call_family::opening, false, true},
    {"cold_writing", call_family::writing, false, true},
    {"cold_threads", call_family::threads, false, true},
};

/// From one call that is tried to the next: all are, or so many that are spread over them.
int step_over(int calls, const scenario& which) {
    constexpr int most_tried = 6;
    const bool all = std::getenv("QTX_FAILURES_ALL") != nullptr || which.is_quick;
    return all ? 1 : std::max(1, calls / most_tried);
}

constexpr unsigned seconds_for_one = 10;
constexpr int most_faults = 3; ///< of a case, after which it is given up

/// What a child tells, in shared memory.
struct report {
    int nth = 0;          ///< the call that is made to fail
    bool ended = false;   ///< all calls have been tried
    bool missing = false; ///< there is no such device
    int calls = 0;        ///< of an undisturbed run
    int injections = 0;
    int errors = 0; ///< the others had results
    int n_expected = 0;
    double expected[200] = {};
    const char* failed = nullptr; ///< the function; every process has its name in the same place
    shared_text fault;            ///< what was wrong; "" for nothing
};

std::string text_of(const std::vector<double>& values) {
    std::string text;
    for (const double each : values) {
        text += ' ';
        text += std::to_string(each);
    }
    return text;
}

class trial {
public:
    trial(const scenario& which, const disturbance& how, report& told)
        : scenario_(which), how_(how), told_(told) {}

    /// What an undisturbed run in a new process does.
    void learn() {
        const auto sound = run_cold({how_.family, 1 << 30});
        told_.missing = use_ == nullptr;
        if (told_.missing) {
            return;
        }
        require_sound(sound);
        told_.calls = calls_;
        told_.n_expected = static_cast<int>(std::min(sound.results.size(), std::size(told_.expected)));
        std::copy_n(sound.results.begin(), told_.n_expected, told_.expected);
    }

    /// One failure in the first run of a process.
    void disturb_cold() { judge(run_cold({how_.family, told_.nth, how_.lasting})); }

    /// All calls from told.nth on.
    void disturb_warm() {
        if (!find()) {
            return;
        }
        require_sound(run(nullptr));
        require_sound(run(nullptr));
        const int calls = count_calls();
        for (; told_.nth <= calls + 2 && told_.fault.text[0] == '\0';
             told_.nth += step_over(calls, scenario_)) {
            expire_in(seconds_for_one);
            if (!disturb_once() && told_.nth > calls) {
                break;
            }
        }
        told_.ended = told_.fault.text[0] == '\0';
    }

private:
    bool find() {
        use_ = scenario_.make();
        told_.missing = use_ == nullptr;
        return !told_.missing;
    }

    /// With the search for the device.
    outcome run_cold(const fault& what) {
        {
            const injection failure(what, told_.failed);
            try {
                use_ = scenario_.make();
                if (use_ != nullptr) {
                    use_->prepare();
                    use_->act();
                }
            } catch (const std::exception&) {
                use_.reset();
            }
            note(failure);
        }
        return use_ == nullptr ? outcome{"no device", "", {}, 0} : use_->conclude();
    }

    outcome run(const fault* what) {
        use_->prepare();
        {
            std::optional<injection> failure;
            if (what != nullptr) {
                failure.emplace(*what, told_.failed);
            }
            use_->act();
            if (what != nullptr) {
                note(*failure);
            }
        }
        return use_->conclude();
    }

    int count_calls() {
        const fault none{how_.family, 1 << 30};
        run(&none);
        return calls_;
    }

    void note(const injection& failure) {
        calls_ = failure.calls();
        reached_ = failure.reached();
    }

    bool disturb_once() {
        const fault what{how_.family, told_.nth, how_.lasting};
        auto before = holdings::now();
        const auto result = run(&what);
        judge(result);
        require_sound(run(nullptr));
        before.driver_objects += result.left_behind;
        if (settled(before).exceed(before)) {
            require_no_growth(what);
        }
        return reached_;
    }

    /// What is kept for the next time, or let go of now and then, does not grow for ever.
    void require_no_growth(const fault& what) {
        constexpr int n_runs = 70; // more than the driver lets complete before it looks for what is over
        holdings lowest[2];
        int left_behind = 0;
        const auto remaining = [&](holdings held) {
            held.driver_objects -= left_behind;
            return held;
        };
        for (auto& each : lowest) {
            each = {1 << 30, 1 << 30, 1 << 30};
            for (int i = 0; i < n_runs && told_.fault.text[0] == '\0'; ++i) {
                left_behind += run(&what).left_behind;
                each = each.lowest(remaining(holdings::now()));
            }
        }
        if (lowest[1].exceed(lowest[0])) { // threads may be behind
            auto before = lowest[0];
            before.driver_objects += left_behind;
            lowest[1] = lowest[1].lowest(remaining(settled(before, 100)));
        }
        require_sound(run(nullptr));
        // Pools of threads and caches of theirs grow a little at first.
        if (lowest[1].exceed(lowest[0], n_runs / 2)) {
            complain("a leak: " + lowest[0].text() + ", and after " + std::to_string(n_runs) + " more runs " +
                     lowest[1].text());
        }
    }

    void judge(const outcome& came) {
        if (reached_) {
            ++told_.injections;
            told_.errors += came.error.empty() ? 0 : 1;
        }
        if (!came.contradiction.empty()) {
            complain(came.contradiction + "; " + came.error);
        } else if (came.error.empty()) {
            require_results(came.results);
            if (reached_ && how_.family == call_family::execution) {
                complain("nothing was told of a command that failed");
            }
        } else if (!reached_) {
            complain("an error without a failure: " + came.error);
        }
    }

    void require_sound(const outcome& came) {
        if (!came.error.empty() || !came.contradiction.empty()) {
            complain("in an undisturbed run: " + came.error + came.contradiction);
        } else if (told_.n_expected != 0 || !expected_.empty()) {
            require_results(came.results);
        } else {
            expected_ = came.results;
        }
    }

    void require_results(const std::vector<double>& results) {
        const std::vector<double> expected =
            told_.n_expected != 0 ? std::vector<double>(told_.expected, told_.expected + told_.n_expected)
                                  : expected_;
        if (results != expected) {
            complain("wrong results:" + text_of(results) + ", expected:" + text_of(expected));
        }
    }

    void complain(const std::string& why) {
        if (told_.fault.text[0] == '\0') {
            told_.fault.set(why);
        }
    }

    const scenario& scenario_;
    const disturbance& how_;
    report& told_;
    std::unique_ptr<use> use_;
    std::vector<double> expected_;
    int calls_ = 0;
    bool reached_ = false;
};

using parameter = std::tuple<scenario, disturbance>;

class every_call : public testing::TestWithParam<parameter> {
protected:
    void SetUp() override {
#ifndef QTX_TEST_DEVICE_IMAGES
        if (which.where == back_end::opencl) {
            GTEST_SKIP() << "no device images in this build";
        }
#endif
        if (which.where == back_end::opencl && std::getenv("QTX_FAILURES_ALL") == nullptr) {
            GTEST_SKIP() << "the long tests run this"; // a new process builds its kernels anew
        }
        if (which.where != back_end::opencl) {
            setenv("OCL_ICD_VENDORS", "/nowhere", 1); // finding no driver takes no time
        }
    }
    void TearDown() override {
        unsetenv("OCL_ICD_VENDORS");
    }

    /// Runs a part of a trial in a child; what goes wrong in it fails the test.
    bool in_child(void (trial::*part)()) {
        told->fault.set("");
        told->failed = "none";
        captured_stderr::clear();
        const std::string end = ending_in_child(seconds_for_one, [&] { (trial(which, how, *told).*part)(); });
        if (end.empty() && told->fault.text[0] == '\0') {
            return true;
        }
        ADD_FAILURE() << which.name << ", " << how.name << ", call " << told->nth << " ("
                      << (told->failed == nullptr ? "none" : told->failed)
                      << "): " << (end.empty() ? "" : "the process " + end + "; ") << told->fault.text
                      << "\nstderr: " << captured_stderr::text();
        return ++n_faults < most_faults;
    }

    const scenario which = std::get<0>(GetParam());
    const disturbance how = std::get<1>(GetParam());
    const shared_value<report> told;
    const captured_stderr printed;
    int n_faults = 0;
};

std::string test_name(const testing::TestParamInfo<parameter>& info) {
    std::string name = std::get<0>(info.param).name + "_" + std::get<1>(info.param).name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; },
        '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(scenarios, every_call,
                         testing::Combine(testing::ValuesIn(scenarios()), testing::ValuesIn(disturbances)),
                         test_name);

} // namespace

TEST_P(every_call, may_fail) {
    ASSERT_TRUE(in_child(&trial::learn));
    if (told->missing) {
        GTEST_SKIP() << "no OpenCL device";
    }
    if (how.cold) {
        while (told->nth <= told->calls + 2 && in_child(&trial::disturb_cold)) {
            told->nth += step_over(told->calls, which);
        }
    } else {
        for (; !told->ended && in_child(&trial::disturb_warm); ++told->nth) {
        }
    }
    std::printf("%s, %s: %d injections, %d errors\n", which.name.c_str(), how.name, told->injections,
                told->errors);
}
