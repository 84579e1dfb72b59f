// What can only be seen from outside of a process: configuration read once, ends of processes, sanitizer
// reports.
#include "driver_fixture.hpp"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <thread>

namespace {

using namespace basalt_test;

int print_devices() {
    bs_platform_handle_t p = nullptr;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (bs_platform_get(&p) != BS_SUCCESS) {
            std::printf("%s\n", bs_last_error());
        }
    }
    if (p == nullptr) {
        return 3;
    }
    std::uint32_t count = 0;
    check(bs_device_count(p, &count));
    for (std::uint32_t i = 0; i < count; ++i) {
        bs_device_handle_t device = nullptr;
        bs_device_desc_t d;
        check(bs_device_get(p, i, &device));
        check(bs_device_get_desc(device, &d));
        std::printf("%d '%s' wg=%zu local=%zu threads=%u delay=%u fp64=%d\n", d.type, d.name,
                    d.max_work_group_size, d.local_memory_bytes, d.n_threads, d.launch_delay_us, d.fp64);
    }
    return 0;
}

/// Reads its neighbour's element, with or without the barrier that this needs.
int exchange(bool with_barrier) {
    const queue q(device_with_threads(1));
    const auto body = [with_barrier](const bs_work_item_t& item, void* memory) {
        auto* const local = static_cast<int*>(memory);
        const auto meet = [&] { with_barrier ? bs_group_barrier(&item) : void(); };
        for (int round = 0; round < 3; ++round) {
            local[item.local_id] = round;
            meet();
            const int read = local[(item.local_id + 1) % item.local_size];
            meet();
            if (read < 0) {
                throw std::runtime_error("negative");
            }
        }
    };
    const kernel k(4, 8, body, 8 * sizeof(int));
    return q.run(k) == BS_SUCCESS ? 0 : 4;
}

/// A tile that is one element short.
int overrun() {
    const queue q(device_with_threads(1));
    const auto body = [](const bs_work_item_t& item, void* memory) {
        static_cast<int*>(memory)[item.local_id] = 1;
        bs_group_barrier(&item);
    };
    const kernel k(1, 8, body, 7 * sizeof(int));
    return q.run(k) == BS_SUCCESS ? 0 : 4;
}

/// Runs into the guard page below the stack of a fiber, never into another work-item.
int overflow() {
    struct deep {
        static int down(volatile int* above, int depth) {
            volatile int here[256] = {depth};
            return depth == 0 ? *above : down(here, depth - 1) + here[0];
        }
    };
    const queue q(device_with_threads(1));
    const kernel k(1, 2, [](const bs_work_item_t& item, void*) {
        bs_group_barrier(&item);
        volatile int start = 0;
        start = deep::down(&start, 1000000);
    });
    return q.run(k) == BS_SUCCESS ? 0 : 4;
}

std::atomic<bool> in_flight{false};
std::atomic<bool> may_end{false};

/// A kernel all but one of whose work-items are suspended, each with memory that only its stack knows.
void never_ending(const bs_work_item_t& item, void*) {
    const std::vector<int> on_heap(100, 1);
    if (item.local_id + 1 == item.local_size) {
        in_flight = true;
        while (!may_end) {
            std::this_thread::yield();
        }
    }
    bs_group_barrier(&item);
}

void submit_never_ending(const queue& q, const kernel& k, bs_event_handle_t done) {
    q.submit(k, {}, done);
    q.submit(k); // waits for the first one's thread
    while (!in_flight) {
        std::this_thread::yield();
    }
}

int exit_in_flight() {
    static auto* const q = new queue(device_with_threads(1), true);
    static auto* const k = new kernel(2, 32, never_ending);
    static auto* const done = new event;
    submit_never_ending(*q, *k, *done);
    return 0;
}

/// Still waits for its work while static objects are destroyed.
class late_user {
public:
    void start() { submit_never_ending(queue_, kernel_, done_); }
    ~late_user() {
        may_end = true;
        std::printf("late wait: %d, error words: '%s'\n", done_.wait(), bs_last_error());
    }

private:
    kernel kernel_{2, 32, never_ending};
    event done_;
    queue queue_{device_with_threads(1)};
};

int use_late() {
    static late_user user;
    user.start();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<int()>> modes{
        {"devices", print_devices},
        {"exchange", [] { return exchange(true); }},
        {"race", [] { return exchange(false); }},
        {"overrun", overrun},
        {"overflow", overflow},
        {"exit_in_flight", exit_in_flight},
        {"use_late", use_late},
        {"unused", [] { return static_cast<int>(std::strlen(bs_last_error())); }}};
    return argc > 1 ? modes.at(argv[1])() : 2;
}
