// Runs basalt_child and looks at how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include <sys/wait.h>

namespace {

using testing::HasSubstr;

#if defined(__SANITIZE_THREAD__)
constexpr bool thread_sanitizer = true;
constexpr const char* default_limit = "wg=64";
#else
constexpr bool thread_sanitizer = false;
constexpr const char* default_limit = "wg=1024";
#endif
#if defined(__SANITIZE_ADDRESS__)
constexpr bool address_sanitizer = true;
#else
constexpr bool address_sanitizer = false;
#endif

struct ending {
    int code;
    std::string output;
};

ending run_child(const std::string& mode, const std::string& environment = "") {
    const std::string line =
        "env " + environment + " timeout 60 '" BASALT_CHILD "' " + mode + " 2>&1"; // 124: it hung
    FILE* const pipe = ::popen(line.c_str(), "r");
    ending e{-1, ""};
    std::array<char, 4096> buffer;
    while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr) {
        e.output += buffer.data();
    }
    const int status = ::pclose(pipe);
    e.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return e;
}

TEST(configuration, defaults_to_one_gpu) {
    for (const char* environment : {"-u BASALT_DEVICES", "BASALT_DEVICES="}) {
        const ending e = run_child("devices", environment);
        EXPECT_EQ(e.code, 0);
        EXPECT_THAT(e.output, testing::StartsWith("1 'Basalt software GPU ("));
        EXPECT_THAT(e.output, HasSubstr(std::string(default_limit) + " local=65536 threads="));
        EXPECT_THAT(e.output, testing::EndsWith("delay=0 fp64=1\n"));
    }
}

TEST(configuration, lists_devices_in_order) {
    const ending e = run_child("devices", "'BASALT_DEVICES=gpu:wg=4,local=1024,threads=3;"
                                          "accelerator:fp64=0,delay=250,name=Big Iron #1,wg=1;cpu'");
    EXPECT_EQ(e.code, 0) << e.output;
    EXPECT_THAT(e.output,
                HasSubstr("1 'Basalt software GPU (work-group 4, local memory 1024, fp64)' wg=4 local=1024 "
                          "threads=3 delay=0 fp64=1\n2 'Big Iron #1' wg=1 local=65536 threads="));
    EXPECT_THAT(e.output, HasSubstr("delay=250 fp64=0\n3 'Basalt software CPU ("));
}

struct bad_config {
    const char* value;
    const char* words;
};

class bad_configuration : public testing::TestWithParam<bad_config> {};

TEST_P(bad_configuration, is_refused_each_time_and_the_faulty_word_quoted) {
    const ending e = run_child("devices", "'BASALT_DEVICES=" + std::string(GetParam().value) + "'");
    EXPECT_EQ(e.code, 3);
    const std::string line = "BASALT_DEVICES: " + std::string(GetParam().words) + "\n";
    EXPECT_EQ(e.output, line + line);
}

INSTANTIATE_TEST_SUITE_P(
    words, bad_configuration,
    testing::Values(
        bad_config{"tpu", "'tpu' is no device type; there are gpu, accelerator and cpu"},
        bad_config{"gpu;", "'' is no device type; there are gpu, accelerator and cpu"},
        bad_config{"gpu:", "'' is no property of the form key=value"},
        bad_config{"gpu:wg", "'wg' is no property of the form key=value"},
        bad_config{"gpu:wg=0", "'wg=0' needs a number from 1 to 4096"},
        bad_config{"cpu;gpu:fp64=1,wg=4097", "'wg=4097' needs a number from 1 to 4096"},
        bad_config{"gpu:wg=12x", "'wg=12x' needs a number from 1 to 4096"},
        bad_config{"gpu:fp64=2", "'fp64=2' needs a number from 0 to 1"},
        bad_config{"gpu:threads=-1", "'threads=-1' needs a number from 1 to 1024"},
        bad_config{"gpu:delay=99999999999", "'delay=99999999999' needs a number from 0 to 4294967295"},
        bad_config{"gpu:name=", "'name=' needs a name of 1 to 127 characters"},
        bad_config{"gpu:colour=1",
                   "'colour=1' has an unknown key; there are wg, local, fp64, threads, delay and name"}));

TEST(ends_of_processes, unused_or_in_flight_or_used_by_static_objects) {
    const ending unused = run_child("unused");
    EXPECT_EQ(unused.code, 0) << unused.output;
    const ending in_flight = run_child("exit_in_flight");
    EXPECT_EQ(in_flight.code, 0) << in_flight.output;
    EXPECT_EQ(in_flight.output, "");
    const ending late = run_child("use_late");
    EXPECT_EQ(late.code, 0) << late.output;
    EXPECT_EQ(late.output, "late wait: 0, error words: ''\n");
}

TEST(faulty_kernels, a_missing_barrier_is_reported_as_a_race) {
    const ending sound = run_child("exchange");
    EXPECT_EQ(sound.code, 0) << sound.output;
    EXPECT_EQ(sound.output, "");
    if (!thread_sanitizer) {
        GTEST_SKIP() << "needs the thread sanitizer";
    }
    const ending racing = run_child("race");
    EXPECT_NE(racing.code, 0);
    EXPECT_NE(racing.code, 124);
    EXPECT_THAT(racing.output, HasSubstr("data race"));
}

TEST(faulty_kernels, an_access_past_local_memory_is_reported) {
    if (!address_sanitizer) {
        GTEST_SKIP() << "needs the address sanitizer";
    }
    const ending e = run_child("overrun");
    EXPECT_NE(e.code, 0);
    EXPECT_THAT(e.output, HasSubstr("heap-buffer-overflow"));
    EXPECT_THAT(e.output, HasSubstr("0 bytes to the right of 28-byte region"));
}

TEST(faulty_kernels, a_stack_overflow_ends_at_the_guard_page) {
    const ending e = run_child("overflow");
    EXPECT_NE(e.code, 0);
    EXPECT_NE(e.code, 124);
    EXPECT_NE(e.code, 4) << e.output;
}

} // namespace
