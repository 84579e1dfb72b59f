#include "lock_explorer.hpp"

#include <runtime/spin_shared_mutex.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace {

using lock_of_the_caches = aurelo::qtx::gpu::basic_spin_shared_mutex<explorer::word, explorer::pause>;

/// A thread that takes the lock once for each letter, as reader (r) or writer (w).
explorer::program thread_of(const std::string& sections) {
    return [sections] {
        lock_of_the_caches lock;
        auto& self = *explorer::current();
        for (const char section : sections) {
            int& inside = section == 'r' ? self.readers : self.writers;
            section == 'r' ? lock.lock_shared() : lock.lock();
            ++inside;
            // The step that gives the lock up ends the section, not the code before it.
            section == 'r' ? lock.unlock_shared() : lock.unlock();
            --inside;
        }
    };
}

} // namespace

TEST(lock_model, keeps_writers_alone_and_lets_everybody_finish) {
    using threads = std::vector<std::string>;
    for (const auto& sections :
         {threads{"r", "r", "r"}, threads{"w", "w", "w"}, threads{"r", "r", "w"}, threads{"r", "w", "w"},
          threads{"rw", "rw"}, threads{"rrr", "ww"}, threads{"rw", "wr", "r"}, threads{"rr", "rr", "w"},
          threads{"r", "r", "r", "w"}, threads{"r", "r", "w", "w"}}) {
        std::vector<explorer::program> programs;
        std::transform(sections.begin(), sections.end(), std::back_inserter(programs), thread_of);
        const auto verdict = explorer::search(programs)();
        EXPECT_EQ(verdict.fault, "") << testing::PrintToString(sections);
        EXPECT_GT(verdict.ends, 0U);
    }
}
