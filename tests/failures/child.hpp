// Processes for what may end, hang or damage one. The parent must have no threads: it never touches a device.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

namespace test {

/// A value that a process shares with its children.
template <typename T>
class shared_value {
    static_assert(std::is_trivially_destructible_v<T>);

public:
    shared_value()
        : value_(new (mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                     T) {}
    ~shared_value() { munmap(value_, sizeof(T)); }
    shared_value(const shared_value&) = delete;
    shared_value& operator=(const shared_value&) = delete;
    T& operator*() const { return *value_; }
    T* operator->() const { return value_; }

private:
    T* value_;
};

/// Text in shared memory, cut at its end.
struct shared_text {
    char text[2000] = "";
    void set(std::string_view what) { text[what.copy(text, sizeof text - 1)] = '\0'; }
};

/// What a process, and all its children, write on stderr, from here on; one at a time.
class captured_stderr {
public:
    captured_stderr();
    ~captured_stderr();
    captured_stderr(const captured_stderr&) = delete;
    captured_stderr& operator=(const captured_stderr&) = delete;
    /// Everything so far.
    static std::string text();
    static void clear();
    /// Whether it contains \p words; allocates nothing.
    static bool holds(const char* words);
};

/// Waits for a child. \return "" after status 0, else how it ended
std::string ending_of(pid_t child);

/// Gives the process so many more seconds, after which SIGALRM ends it.
void expire_in(unsigned seconds);

/// Runs \p body in a child with a time limit, up to the exit handlers. \return "" if it ended well, else how it ended
template <typename Body>
std::string ending_in_child(unsigned seconds, const Body& body) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        expire_in(seconds);
        body();
        std::exit(0);
    }
    return ending_of(child);
}

} // namespace test
