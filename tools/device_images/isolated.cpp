#include "isolated.hpp"

#include <array>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace device_images {

namespace {

[[noreturn]] void work_in_child(const std::function<std::string()>& work, int target) {
    try {
        const std::string result = work();
        std::size_t written = 0;
        while (written < result.size()) {
            const auto n = write(target, result.data() + written, result.size() - written);
            if (n <= 0) {
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

std::string read_all(int source) {
    std::string result;
    std::array<char, 65536> part;
    for (ssize_t n = 0; (n = read(source, part.data(), part.size())) > 0;) {
        result.append(part.data(), static_cast<std::size_t>(n));
    }
    return result;
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
    std::string result = child < 0 ? "" : read_all(ends[0]);
    close(ends[0]);
    int status = 1;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("a child process failed");
    }
    return result;
}

} // namespace device_images
