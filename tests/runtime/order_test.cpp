#include "order_probe.hpp"

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;

namespace {

int events_out = -1;

/// The lines that \p body, in a process of its own, and the end of that process write.
template <typename Body>
std::vector<std::string> events_of(Body body) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        events_out = ends[1];
        alarm(120);
        body();
        std::exit(0);
    }
    close(ends[1]);
    std::string text;
    char part[256];
    for (ssize_t n = 0; (n = read(ends[0], part, sizeof part)) > 0;) {
        text.append(part, static_cast<std::size_t>(n));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    std::vector<std::string> lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
        lines.push_back(text.substr(0, end));
    }
    return lines;
}

void* load() {
    void* const module = dlopen(ORDER_PROBE, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        order_event(dlerror());
    }
    return module;
}

void use(void* module) {
    auto* const check = reinterpret_cast<decltype(&order_probe_first_is_contexts)>(
        dlsym(module, "order_probe_first_is_contexts"));
    order_event(check() ? "the first has the contexts" : "the caches were built in the wrong order");
}

} // namespace

void order_event(const char* what) {
    const std::string line = std::string(what) + "\n";
    if (write(events_out, line.data(), line.size()) < 0) {
        std::abort();
    }
}

TEST(order, images_come_first_and_go_last_and_queues_go_before_contexts_at_exit) {
    EXPECT_THAT(events_of([] { use(load()); }),
                ElementsAre("images", "working directory", "first cache", "second cache",
                            "the first has the contexts", "second cache gone", "first cache gone",
                            "images gone"));
}

TEST(order, is_the_same_at_dlclose_which_unloads_the_library) {
    EXPECT_THAT(events_of([] {
                    void* const module = load();
                    use(module);
                    dlclose(module);
                    order_event(dlopen(ORDER_PROBE, RTLD_NOW | RTLD_NOLOAD) == nullptr ? "unloaded"
                                                                                       : "still here");
                    _exit(0); // the leak checker could not name what the caches gave away
                }),
                ElementsAre("images", "working directory", "first cache", "second cache",
                            "the first has the contexts", "second cache gone", "first cache gone",
                            "images gone", "unloaded"));
}
