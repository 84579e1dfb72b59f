#include "threads.hpp"

#include <qtx_services.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

TEST(services, a_lock_admits_one_thread_at_a_time) {
    int lock = 0;
    long counter = 0;
    test::on_threads(32, [&](std::size_t) {
        for (int i = 0; i < 200; ++i) {
            qtx_serv_lock(&lock);
            counter += 1;
            qtx_serv_unlock(&lock);
        }
        return 0;
    });
    EXPECT_EQ(counter, 32 * 200);
    EXPECT_EQ(lock, 0);
}

TEST(services, getenv_cuts_what_does_not_fit_and_says_how_much_it_gave) {
    char buffer[10] = "untouched";
    EXPECT_EQ(qtx_serv_getenv("QTX_TEST_VARIABLE", nullptr, 10), -1);
    EXPECT_EQ(qtx_serv_getenv(nullptr, buffer, 10), -1);
    EXPECT_EQ(qtx_serv_getenv("QTX_TEST_VARIABLE", buffer, 0), -1);
    EXPECT_STREQ(buffer, "untouched");
    unsetenv("QTX_TEST_VARIABLE");
    EXPECT_EQ(qtx_serv_getenv("QTX_TEST_VARIABLE", buffer, 10), 0);
    EXPECT_STREQ(buffer, "");
    setenv("QTX_TEST_VARIABLE", "short", 1);
    EXPECT_EQ(qtx_serv_getenv("QTX_TEST_VARIABLE", buffer, 10), 5);
    EXPECT_STREQ(buffer, "short");
    setenv("QTX_TEST_VARIABLE", "12345678901234567890", 1);
    EXPECT_EQ(qtx_serv_getenv("QTX_TEST_VARIABLE", buffer, 10), 9);
    EXPECT_STREQ(buffer, "123456789");
}

TEST(services, bounded_strings_end_within_their_bounds) {
    const char unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(qtx_serv_strnlen_s(unterminated, 3), 3U);
    EXPECT_EQ(qtx_serv_strnlen_s("ab", 4096), 2U);
    EXPECT_EQ(qtx_serv_strnlen_s(nullptr, 4096), 0U);

    char text[6] = "?????";
    EXPECT_EQ(qtx_serv_strncpy_s(text, sizeof text, unterminated, 3), 0);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(qtx_serv_strncat_s(text, sizeof text, "defg", 2), 0);
    EXPECT_STREQ(text, "abcde");
    EXPECT_EQ(qtx_serv_strncat_s(text, sizeof text, "x", 4096), ERANGE);
    EXPECT_STREQ(text, "abcde");
    EXPECT_EQ(qtx_serv_strncpy_s(text, sizeof text, "1234567", 4096), ERANGE);
    EXPECT_STREQ(text, "12345");
    EXPECT_EQ(qtx_serv_strncat_s(text, 3, "x", 1), EINVAL) << "no terminated string within the size";
    EXPECT_EQ(qtx_serv_strncpy_s(text, sizeof text, nullptr, 3), EINVAL);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(qtx_serv_strncpy_s(nullptr, 3, "x", 1), EINVAL);
    EXPECT_EQ(qtx_serv_strncpy_s(text, 0, "x", 1), EINVAL);
}

TEST(services, messages_name_what_is_wrong) {
    testing::internal::CaptureStderr();
    qtx_serv_print(0, 3, 1, "'clFinish'");
    errno = ENOENT;
    qtx_serv_print(1, 1, 1, "libx.so");
    EXPECT_EQ(qtx_serv_fprintf_s(stderr, "%s %d\n", "status", 7), 9);
    EXPECT_EQ(qtx_serv_fprintf_s(nullptr, "unseen"), -1);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "qtx: 'clFinish' is missing: its library cannot be loaded, or lacks this entry\n"
        "qtx: the working directory cannot be read while libx.so is being loaded: No such file or directory\n"
        "status 7\n");
}

TEST(services_death, both_ends_stop_the_process_with_the_status_and_flush) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static const auto in_buffer = [](FILE* stream) {
        static char buffer[2][64];
        std::setvbuf(stream, buffer[stream == stdout], _IOFBF, sizeof buffer[0]);
        std::fputs("kept ", stream); // glibc does not buffer what comes first
        std::fputs("words", stream);
    };
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), in_buffer(stdout), qtx_serv_exit(2)),
                testing::ExitedWithCode(2), "kept words");
    EXPECT_EXIT((in_buffer(stderr), qtx_serv_iface_exit(3)), testing::ExitedWithCode(3),
                "ends with status 3\nwords");
}

// What other threads hold, and they hold it for ever.
TEST(services_death, the_ends_wait_for_no_other_thread) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static const auto while_another = [](FILE* busy, void (*keep_busy)()) {
        alarm(10);
        std::thread(keep_busy).detach();
        while (ftrylockfile(busy) == 0) {
            funlockfile(busy);
            std::this_thread::yield();
        }
        qtx_serv_print(0, 3, 1, "'clFinish'");
        qtx_serv_iface_exit(3);
    };
    static const auto waits_for_input = [] {
        int ends[2];
        char line[8];
        dup2(pipe(ends) == 0 ? ends[0] : -1, STDIN_FILENO);
        std::fgets(line, sizeof line, stdin);
    };
    const auto ended = testing::ExitedWithCode(3);
    const char* const words = "clFinish.*\n.*ends with status 3";
    EXPECT_EXIT(while_another(stdin, waits_for_input), ended, words);
    EXPECT_EXIT(while_another(stdout, [] { flockfile(stdout), pause(); }), ended, words);
    EXPECT_EXIT(while_another(stderr, [] { flockfile(stderr), pause(); }), ended, words);
}

TEST(services_death, the_ends_give_up_on_a_reader_that_takes_nothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static const auto into_a_full_pipe = [] {
        alarm(10);
        int ends[2];
        const bool is_ready = pipe(ends) == 0 && fcntl(ends[1], F_SETFL, O_NONBLOCK) == 0;
        while (is_ready && write(ends[1], "full", 4) > 0) {
        }
        fcntl(ends[1], F_SETFL, 0);
        dup2(ends[1], STDOUT_FILENO);
        std::printf("lost words");
        qtx_serv_exit(2);
    };
    EXPECT_EXIT(into_a_full_pipe(), testing::ExitedWithCode(2), "");
}

TEST(services, this_process_shares_its_c_library) {
    EXPECT_EQ(qtx_serv_libc_is_static(), 0);
}
