#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <atomic>

/**
 * Runs small programs over one atomic word in every interleaving of their atomic steps. A program is ordinary
 * code; its state is what it has seen so far, so a step is taken by running it from the start over the
 * recorded results and cutting it off after one new operation. A thread that pauses waits until the word has
 * changed: looking again earlier changes nothing.
 */
namespace explorer {

using seen = std::vector<std::uint32_t>;

/// Ends the run of a program before its next atomic operation.
struct cut {};

/// One run of one thread: first over its past, then one operation further.
struct run {
    std::uint32_t* word;
    seen* past;
    std::size_t position = 0;
    bool stepped = false;
    bool paused = false;
    int readers = 0;
    int writers = 0;

    template <typename Operation>
    std::uint32_t step(Operation operation) {
        if (position < past->size()) {
            return (*past)[position++];
        }
        if (stepped) {
            throw cut{};
        }
        stepped = true;
        past->push_back(operation(*word));
        return (*past)[position++];
    }
};

inline run*& current() {
    static run* running = nullptr;
    return running;
}

/// The atomic word as the programs see it.
class word {
public:
    constexpr explicit word(std::uint32_t) {}
    std::uint32_t load(std::memory_order) const {
        return current()->step([](std::uint32_t& value) { return value; });
    }
    std::uint32_t fetch_add(std::uint32_t change, std::memory_order) {
        return current()->step([=](std::uint32_t& value) {
            const auto before = value;
            value += change;
            return before;
        });
    }
    std::uint32_t fetch_sub(std::uint32_t change, std::memory_order order) {
        return fetch_add(-change, order);
    }
    bool compare_exchange_strong(std::uint32_t& expected, std::uint32_t desired, std::memory_order,
                                 std::memory_order) {
        const auto wanted = expected;
        expected = current()->step([=](std::uint32_t& value) {
            const auto before = value;
            value = before == wanted ? desired : before;
            return before;
        });
        return expected == wanted;
    }
};

inline void pause() {
    if (current()->stepped) {
        current()->paused = true;
    }
}

using program = std::function<void()>;

struct verdict {
    std::size_t ends = 0;
    std::string fault; ///< empty if there is none
};

class search {
public:
    explicit search(std::vector<program> programs) : programs_(std::move(programs)) {}

    verdict operator()() {
        visit({0, std::vector<thread>(programs_.size())});
        return verdict_;
    }

private:
    struct thread {
        seen past;
        bool finished = false;
        bool waiting = false;
        std::uint32_t waited_at = 0;
        int readers = 0;
        int writers = 0;
    };
    struct state {
        std::uint32_t word;
        std::vector<thread> threads;
    };

    // The words that a thread has seen fix all else about it.
    std::vector<std::uint32_t> key_of(const state& at) const {
        std::vector<std::uint32_t> key{at.word};
        for (const auto& each : at.threads) {
            key.push_back(static_cast<std::uint32_t>(each.past.size()));
            key.insert(key.end(), each.past.begin(), each.past.end());
        }
        return key;
    }

    std::string fault_of(const state& at) const {
        int readers = 0;
        int writers = 0;
        for (const auto& each : at.threads) {
            readers += each.readers;
            writers += each.writers;
            if (each.past.size() > 200) {
                return "a thread never gets on";
            }
        }
        return writers > 1 ? "two writers" : writers == 1 && readers > 0 ? "a reader beside a writer" : "";
    }

    void visit(const state& at) {
        if (!verdict_.fault.empty() || !known_.insert(key_of(at)).second) {
            return;
        }
        verdict_.fault = fault_of(at);
        bool finished = true;
        bool stuck = true;
        for (std::size_t i = 0; i < programs_.size() && verdict_.fault.empty(); ++i) {
            const auto& each = at.threads[i];
            finished = finished && each.finished;
            if (!each.finished && !(each.waiting && each.waited_at == at.word)) {
                stuck = false;
                visit(after_step(at, i));
            }
        }
        if (stuck && verdict_.fault.empty()) {
            ++verdict_.ends;
            verdict_.fault = !finished      ? "all threads wait"
                             : at.word != 0 ? "the word is not free at the end"
                                            : "";
        }
    }

    state after_step(state at, std::size_t i) const {
        auto& each = at.threads[i];
        run now{&at.word, &each.past};
        current() = &now;
        try {
            programs_[i]();
            each.finished = true;
        } catch (const cut&) {
        }
        each.waiting = now.paused;
        each.waited_at = at.word;
        each.readers = now.readers;
        each.writers = now.writers;
        return at;
    }

    std::vector<program> programs_;
    std::set<std::vector<std::uint32_t>> known_;
    verdict verdict_;
};

} // namespace explorer
