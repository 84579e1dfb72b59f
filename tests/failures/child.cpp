#include "child.hpp"

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>

namespace test {

namespace {

int captured_file = -1;
int real_stderr = -1;

} // namespace

captured_stderr::captured_stderr() {
    captured_file = memfd_create("stderr", MFD_CLOEXEC);
    real_stderr = dup(STDERR_FILENO);
    if (captured_file < 0 || real_stderr < 0) {
        throw std::runtime_error("stderr cannot be captured");
    }
    fcntl(captured_file, F_SETFL, O_APPEND);
    dup2(captured_file, STDERR_FILENO);
}

captured_stderr::~captured_stderr() {
    dup2(real_stderr, STDERR_FILENO);
    close(real_stderr);
    close(captured_file);
}

std::string captured_stderr::text() {
    std::string result(1 << 16, '\0');
    const ssize_t bytes = pread(captured_file, result.data(), result.size(), 0);
    result.resize(bytes < 0 ? 0 : static_cast<std::size_t>(bytes));
    return result;
}

bool captured_stderr::holds(const char* words) {
    char buffer[4096];
    const ssize_t bytes = pread(captured_file, buffer, sizeof buffer - 1, 0);
    buffer[bytes < 0 ? 0 : bytes] = '\0';
    return std::strstr(buffer, words) != nullptr;
}

void captured_stderr::clear() {
    if (ftruncate(captured_file, 0) != 0) {
        throw std::runtime_error("what was captured cannot be cleared");
    }
}

std::string ending_of(pid_t child) {
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        return "no process: " + std::string(std::strerror(errno));
    }
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "hung" : "died of " + std::string(strsignal(WTERMSIG(status)));
    }
    return WEXITSTATUS(status) == 0 ? "" : "exited with status " + std::to_string(WEXITSTATUS(status));
}

void expire_in(unsigned seconds) {
    alarm(seconds);
}

} // namespace test
