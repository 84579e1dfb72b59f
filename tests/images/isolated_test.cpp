// Work in a child process, while signals arrive.
#include "../../tools/device_images/isolated.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include <signal.h>
#include <sys/time.h>

namespace {

/// A signal each millisecond that interrupts system calls.
class interruptions {
public:
    interruptions() {
        struct sigaction nothing {};
        nothing.sa_handler = [](int) {};
        sigaction(SIGALRM, &nothing, &old_);
        repeat_every(1000);
    }
    ~interruptions() {
        repeat_every(0);
        sigaction(SIGALRM, &old_, nullptr);
    }

private:
    static void repeat_every(suseconds_t microseconds) {
        const itimerval timer{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    struct sigaction old_ {};
};

TEST(isolated, gives_the_whole_result_while_signals_arrive) {
    const interruptions running;
    const std::string all(1'000'000, 'x');
    const auto slowly = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return all;
    };
    EXPECT_EQ(device_images::run_isolated(slowly), all);
}

TEST(isolated, throws_for_a_child_that_fails) {
    const auto failing = []() -> std::string { throw std::runtime_error("refused"); };
    EXPECT_THROW(device_images::run_isolated(failing), std::runtime_error);
}

} // namespace
