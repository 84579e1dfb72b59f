#include "shared_tasks.hpp"

#include "host_threads.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace sycl::detail {

namespace {

using namespace std::chrono_literals;
using task_list = std::vector<std::shared_ptr<shared_task>>;

constexpr auto grace = 3us; ///< a thread that waits right after it has submitted has begun by then
/// A look every 100 us would take a tenth from a team of all processors.
constexpr auto watch_period = 500us;
constexpr int periods_of_rest = 4; ///< without offers, after which the watch ends

/// As many as threads may offer and withdraw beside each other. What is further up stays until the next look.
constexpr std::ptrdiff_t places_searched = 16;

/// Never destroyed: threads of the pool may look at it during exit.
struct notice_board {
    std::atomic<bool> waiters_lead{true}; ///< whether the last task was begun by a thread that waited for it
    std::atomic<bool> watched{false};     ///< ends with the lock held

    std::mutex lock;
    task_list offers;
    bool used = false; ///< since the watch last looked
};

notice_board& board() {
    static auto* const the_board = new notice_board;
    return *the_board;
}

void let_waiters_begin(const shared_task& task) {
    const auto end = std::chrono::steady_clock::now() + grace;
    while (!task.begun() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
}

void run_if_nobody_else_does(shared_task& task) {
    let_waiters_begin(task);
    board().waiters_lead.store(!task.run_once(), std::memory_order_relaxed);
}

struct look {
    task_list offers;
    bool last; ///< the watch ends: nobody offers, or nobody waits
};

look look_at_board(int& rest) {
    look result{{}, false};
    {
        notice_board& here = board();
        const std::lock_guard guard(here.lock);
        rest = std::exchange(here.used, false) ? 0 : rest + 1;
        result.offers.swap(here.offers);
        result.last = rest >= periods_of_rest || !here.waiters_lead.load(std::memory_order_relaxed);
        if (result.last) {
            here.watched.store(false, std::memory_order_relaxed);
        }
    }
    return result;
}

/// Each task that no thread has begun gets one of its own, since it may take long.
void pass_on(const task_list& tasks) {
    for (const auto& each : tasks) {
        if (each->begun()) {
            continue;
        }
        try {
            post_to_host_threads([each] { run_if_nobody_else_does(*each); });
        } catch (const std::exception&) {
            run_if_nobody_else_does(*each);
        }
    }
}

void watch_board() {
    if (!board().waiters_lead.load(std::memory_order_relaxed) || board().watched.exchange(true)) {
        return;
    }
    int rest = 0;
    for (bool last = false; !last;) {
        std::this_thread::sleep_for(watch_period);
        const look found = look_at_board(rest);
        pass_on(found.offers);
        last = found.last;
    }
}

/// Whether the watch will see \p task.
bool put_on_board(std::shared_ptr<shared_task>& task) {
    notice_board& here = board();
    if (!here.watched.load(std::memory_order_relaxed) || !here.waiters_lead.load(std::memory_order_relaxed)) {
        return false;
    }
    const std::lock_guard guard(here.lock);
    if (!here.watched.load(std::memory_order_relaxed)) {
        return false;
    }
    here.offers.push_back(std::move(task));
    return here.used = true;
}

} // namespace

void offer_to_host_threads(std::shared_ptr<shared_task> task) {
    if (!put_on_board(task)) {
        post_to_host_threads([task = std::move(task)] {
            run_if_nobody_else_does(*task);
            watch_board();
        });
    }
}

void withdraw_offer(const shared_task& task) {
    notice_board& here = board();
    if (!here.watched.load(std::memory_order_relaxed)) {
        return;
    }
    std::shared_ptr<shared_task> found; // let go outside the lock
    const std::lock_guard guard(here.lock);
    const auto end = here.offers.rbegin() + std::min(std::ssize(here.offers), places_searched);
    const auto place =
        std::find_if(here.offers.rbegin(), end, [&](const auto& each) { return each.get() == &task; });
    if (place != end) {
        found = std::move(*place);
        std::swap(*place, here.offers.back());
        here.offers.pop_back();
    }
}

void hand_out_offers() {
    notice_board& here = board();
    task_list offers;
    {
        const std::lock_guard guard(here.lock);
        offers.swap(here.offers);
    }
    pass_on(offers);
}

} // namespace sycl::detail
