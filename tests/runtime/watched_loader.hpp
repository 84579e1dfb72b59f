#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace test {

struct open_call {
    std::string name;
    int flags;
    friend bool operator==(const open_call&, const open_call&) = default;
};

/// The dynamic loader as the library's objects see it in this executable. Set up before threads start.
struct watched_loader {
    /// File to open for a name; an empty one makes the open fail. Names that are not here open as they are.
    std::map<std::string, std::string> files;
    /// The result of getcwd; without it the real one.
    std::function<char*(char*, std::size_t)> working_directory;

    std::vector<open_call> opens() const;
    std::vector<std::string> looked_up() const;

    static watched_loader& instance();
};

} // namespace test
