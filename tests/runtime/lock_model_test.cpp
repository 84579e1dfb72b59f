#include "lock_explorer.hpp"

#include <runtime/spin_shared_mutex.hpp>

#include <gtest/gtest.h>

namespace {

using lock_of_the_caches = aurelo::qtx::gpu::basic_spin_shared_mutex<explorer::word, explorer::pause>;

/// A thread that takes the lock once for each letter, as reader (r) or writer (w).
template <typename Lock>
explorer::program thread_of(const std::string& sections) {
    return [sections] {
        Lock lock;
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

template <typename Lock>
explorer::verdict explore(const std::vector<std::string>& threads) {
    std::vector<explorer::program> programs;
    for (const auto& sections : threads) {
        programs.push_back(thread_of<Lock>(sections));
    }
    return explorer::search(programs)();
}

/// Looks before it counts itself: a writer can come in between.
struct looks_first : lock_of_the_caches {
    explorer::word word{0};
    void lock_shared() {
        while ((word.load(std::memory_order_acquire) & 1) != 0) {
            explorer::pause();
        }
        word.fetch_add(2, std::memory_order_acquire);
    }
};

/// Forgets readers that are in.
struct ignores_readers : lock_of_the_caches {
    explorer::word word{0};
    void lock() {
        while ((word.fetch_add(1, std::memory_order_acquire) & 1) != 0) {
            word.fetch_sub(1, std::memory_order_relaxed);
            explorer::pause();
        }
    }
};

/// A reader that keeps its count when it leaves.
struct stays_in : lock_of_the_caches {
    explorer::word word{0};
    void unlock_shared() { word.fetch_sub(0, std::memory_order_release); }
};

class lock_model : public testing::TestWithParam<std::vector<std::string>> {};

} // namespace

TEST_P(lock_model, keeps_writers_alone_and_lets_everybody_finish) {
    const auto verdict = explore<lock_of_the_caches>(GetParam());
    EXPECT_EQ(verdict.fault, "");
    EXPECT_GT(verdict.ends, 0U);
    RecordProperty("states", static_cast<int>(verdict.states));
}

INSTANTIATE_TEST_SUITE_P(
    threads, lock_model,
    testing::Values(std::vector<std::string>{"r", "r", "r"}, std::vector<std::string>{"w", "w", "w"},
                    std::vector<std::string>{"r", "r", "w"}, std::vector<std::string>{"r", "w", "w"},
                    std::vector<std::string>{"rw", "rw"}, std::vector<std::string>{"rrr", "ww"},
                    std::vector<std::string>{"rw", "wr", "r"}, std::vector<std::string>{"rr", "rr", "w"},
                    std::vector<std::string>{"r", "r", "r", "w"},
                    std::vector<std::string>{"r", "r", "w", "w"}),
    [](const auto& chosen) {
        std::string name;
        for (const auto& each : chosen.param) {
            name += (name.empty() ? "" : "_") + each;
        }
        return name;
    });

TEST(lock_explorer, finds_the_faults_of_wrong_locks) {
    EXPECT_EQ(explore<looks_first>({"r", "w"}).fault, "a reader beside a writer");
    EXPECT_EQ(explore<ignores_readers>({"r", "w"}).fault, "a reader beside a writer");
    EXPECT_EQ(explore<stays_in>({"r", "w"}).fault, "all threads wait");
    EXPECT_EQ(explore<stays_in>({"r", "r"}).fault, "the word is not free at the end");
}
