#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace test {

struct open_call {
    std::string name;
    int flags;
    friend bool operator==(const open_call&, const open_call&) = default;
};

/**
 * The process as the library's objects see it in this executable: its dynamic loader, its working directory, and
 * services that only take down what they were asked to report, and how to end. Set up before threads start, and read
 * when they are over.
 */
struct watched_process {
    /// File to open for a name; an empty one makes the open fail. Names that are not here open as they are.
    std::map<std::string, std::string> files;
    /// The result of getcwd; without it the real one.
    std::function<char*(char*, std::size_t)> working_directory;
    bool libc_is_static = false;

    std::vector<open_call> opens;
    std::vector<std::string> looked_up;
    std::vector<std::string> reports;
    std::mutex lock; ///< of these three
};

watched_process& process();

} // namespace test
