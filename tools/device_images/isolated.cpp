#include "isolated.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace device_images {

namespace {

/// The result of a system call that is repeated when a signal interrupts it.
template <typename Call>
auto uninterrupted(const Call& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

[[noreturn]] void work_in_child(const std::function<std::string()>& work, int target) {
    try {
        const std::string result = work();
        std::size_t written = 0;
        while (written < result.size()) {
            const auto n = uninterrupted(
                [&] { return write(target, result.data() + written, result.size() - written); });
            if (n <= 0) {
                std::perror("the result of a child process");
                _exit(1);
            }
            written += static_cast<std::size_t>(n);
        }
        _exit(0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        _exit(1);
    }
}

/// All up to the end of the data; nothing if reading fails.
std::optional<std::string> read_all(int source) {
    std::string result;
    std::array<char, 65536> part;
    for (;;) {
        const auto n = uninterrupted([&] { return read(source, part.data(), part.size()); });
        if (n <= 0) {
            return n == 0 ? std::optional(std::move(result)) : std::nullopt;
        }
        result.append(part.data(), static_cast<std::size_t>(n));
    }
}

} // namespace

std::string run_isolated(const std::function<std::string()>& work) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe to a child process");
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        work_in_child(work, ends[1]);
    }
    close(ends[1]);
    auto result = child < 0 ? std::nullopt : read_all(ends[0]);
    close(ends[0]);
    int status = 1;
    const bool has_ended = child > 0 && uninterrupted([&] { return waitpid(child, &status, 0); }) == child;
    if (!result || !has_ended || status != 0) {
        throw std::runtime_error("a child process failed");
    }
    return *std::move(result);
}

} // namespace device_images
