#include <runtime/spin_shared_mutex.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The lock of the caches in every interleaving of the atomic steps of a few threads. Their programs are ordinary code; a
// thread is where it is by what it has seen of the word so far, so a step is taken by running its program from the start
// over what it has seen and cutting it off after one new operation. A thread that pauses waits until the word has
// changed: looking again earlier changes nothing.

namespace {

using seen = std::vector<std::uint32_t>;

struct thread {
    std::string sections; ///< takes the lock once for each letter, as reader (r) or writer (w)
    seen past;
    bool finished = false;
    bool waiting = false;
    std::uint32_t waits_at = 0;
    int readers = 0;
    int writers = 0;
};

struct state {
    std::uint32_t word = 0;
    std::vector<thread> threads;
};

/// Ends the run of a program before its next atomic operation.
struct cut {};

/// The run that is on: of which thread, and how far.
struct run {
    std::uint32_t* word = nullptr;
    thread* self = nullptr;
    std::size_t position = 0;
    bool stepped = false;
} now;

/// The atomic word as the lock sees it; every operation returns what it was before.
class model_word {
public:
    constexpr explicit model_word(std::uint32_t) {}
    std::uint32_t load(std::memory_order) const {
        return step([](std::uint32_t value) { return value; });
    }
    std::uint32_t fetch_add(std::uint32_t change, std::memory_order) {
        return step([=](std::uint32_t value) { return value + change; });
    }
    std::uint32_t fetch_sub(std::uint32_t change, std::memory_order order) {
        return fetch_add(-change, order);
    }
    void store(std::uint32_t value, std::memory_order) {
        step([=](std::uint32_t) { return value; });
    }
    bool compare_exchange_strong(std::uint32_t& expected, std::uint32_t desired, std::memory_order,
                                 std::memory_order) {
        const auto wanted = std::exchange(
            expected, step([=](std::uint32_t value) { return value == expected ? desired : value; }));
        return expected == wanted;
    }

private:
    template <typename Change>
    static std::uint32_t step(Change change) {
        auto& past = now.self->past;
        if (now.position == past.size()) {
            if (std::exchange(now.stepped, true)) {
                throw cut{};
            }
            past.push_back(*now.word);
            *now.word = change(*now.word);
        }
        return past[now.position++];
    }
};

void model_pause() {
    now.self->waiting = now.self->waiting || now.stepped;
}

void run_program(thread& self) {
    aurelo::qtx::gpu::basic_spin_shared_mutex<model_word, model_pause> lock;
    for (const char section : self.sections) {
        int& inside = section == 'r' ? self.readers : self.writers;
        section == 'r' ? lock.lock_shared() : lock.lock();
        ++inside;
        // The step that gives the lock up ends the section, not the code before it.
        section == 'r' ? lock.unlock_shared() : lock.unlock();
        --inside;
    }
    self.finished = true;
}

state after_step(state at, std::size_t i) {
    auto& self = at.threads[i];
    self.waiting = false;
    self.readers = self.writers = 0;
    now = {&at.word, &self, 0, false};
    try {
        run_program(self);
    } catch (const cut&) {
    }
    self.waits_at = at.word;
    return at;
}

/// What goes wrong in some order of steps from here on; empty if nothing does.
std::string fault_after(const state& at, std::set<std::vector<seen>>& known) {
    int readers = 0, writers = 0;
    std::vector<seen> key{{at.word}};
    for (const auto& each : at.threads) {
        readers += each.readers;
        writers += each.writers;
        key.push_back(each.past);
        if (each.past.size() > 200) {
            return "a thread never gets on";
        }
    }
    if (writers > 1 || (writers == 1 && readers > 0)) {
        return "a writer is not alone";
    }
    if (!known.insert(key).second) {
        return "";
    }
    bool finished = true, stuck = true;
    for (std::size_t i = 0; i < at.threads.size(); ++i) {
        const auto& each = at.threads[i];
        finished = finished && each.finished;
        if (!each.finished && !(each.waiting && each.waits_at == at.word)) {
            stuck = false;
            if (const auto fault = fault_after(after_step(at, i), known); !fault.empty()) {
                return fault;
            }
        }
    }
    return !stuck         ? ""
           : !finished    ? "all threads wait"
           : at.word != 0 ? "the word is not free at the end"
                          : "";
}

} // namespace

TEST(lock_model, keeps_writers_alone_and_lets_everybody_finish) {
    using programs = std::vector<std::string>;
    for (const auto& sections :
         {programs{"r", "r", "r"}, programs{"w", "w", "w"}, programs{"r", "r", "w"}, programs{"r", "w", "w"},
          programs{"rw", "rw"}, programs{"rrr", "ww"}, programs{"rw", "wr", "r"}, programs{"rr", "rr", "w"},
          programs{"r", "r", "r", "w"}, programs{"r", "r", "w", "w"}}) {
        state start;
        for (const auto& each : sections) {
            start.threads.emplace_back().sections = each;
        }
        std::set<std::vector<seen>> known;
        EXPECT_EQ(fault_after(start, known), "") << testing::PrintToString(sections);
        EXPECT_GT(known.size(), 10U);
    }
}
