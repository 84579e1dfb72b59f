// Costs of the software GPU: a collective per work-item, an empty launch. Prints medians.
#include "driver_fixture.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

namespace {

using namespace basalt_test;
using clock_type = std::chrono::steady_clock;

double nanoseconds_since(clock_type::time_point start) {
    return std::chrono::duration<double, std::nano>(clock_type::now() - start).count();
}

/// Prints the median and, for noisy machines, the best of many runs.
template <typename Run>
void measure(const char* what, const char* unit, double scale, int repeats, Run&& run) {
    std::vector<double> times;
    for (int i = 0; i < repeats; ++i) {
        times.push_back(run());
    }
    std::sort(times.begin(), times.end());
    std::printf("%-32s %8.2f %s (best %.2f)\n", what, times[times.size() / 2] / scale, unit,
                times.front() / scale);
}

constexpr int rounds = 50;

template <void (*Body)(const bs_work_item_t*)>
bs_kernel_t plain_kernel(std::size_t n_groups, std::size_t local_size) {
    bs_kernel_t k{};
    k.name = "benchmark";
    k.run_item = [](void*, const bs_work_item_t* item) { Body(item); };
    k.make_instance = [](void*, void*) -> void* { return nullptr; };
    k.drop_instance = [](void*) {};
    k.n_groups = n_groups;
    k.local_size = local_size;
    return k;
}

void nothing(const bs_work_item_t*) {}

void barriers(const bs_work_item_t* item) {
    for (int i = 0; i < rounds; ++i) {
        bs_group_barrier(item);
    }
}

void sums(const bs_work_item_t* item) {
    double value = static_cast<double>(item->local_id);
    for (int i = 0; i < rounds; ++i) {
        bs_group_combine(item, &value, sizeof(value), sum_doubles, &value);
    }
}

/// Processor time of the process: with one worker thread and a caller that sleeps, that is the worker's,
/// whatever else the machine does.
double processor_nanoseconds() {
    timespec now;
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double time_launch(const queue& q, const bs_kernel_t& k) {
    const event done;
    bs_command_t command{};
    command.kernel = &k;
    command.signal = done;
    const auto start = clock_type::now();
    check(bs_command_queue_submit(q, &command));
    check(done.wait());
    return nanoseconds_since(start);
}

template <void (*Body)(const bs_work_item_t*)>
void measure_collective(const char* name, const queue& q, std::size_t local_size) {
    const std::size_t n_groups = 16384 / local_size;
    const bs_kernel_t k = plain_kernel<Body>(n_groups, local_size);
    time_launch(q, k);
    const std::string what = std::string(name) + ", local size " + std::to_string(local_size);
    measure(what.c_str(), "ns per work-item and collective",
            static_cast<double>(n_groups * local_size * rounds), 51, [&] {
                const double start = processor_nanoseconds();
                time_launch(q, k);
                return processor_nanoseconds() - start;
            });
}

void measure_empty(const char* how, const queue& q, std::chrono::microseconds pause, int repeats) {
    const bs_kernel_t empty = plain_kernel<nothing>(1, 1);
    measure(how, "us", 1e3, repeats, [&] {
        if (pause.count() != 0) {
            std::this_thread::sleep_for(pause);
        }
        return time_launch(q, empty);
    });
}

} // namespace

int main() {
    const queue one(device_with_threads(1));
    const queue two(device_with_threads(2));
    for (const std::size_t local_size : {2u, 16u, 64u, 256u, 1024u}) {
        measure_collective<barriers>("barrier", one, local_size);
        measure_collective<sums>("sum of doubles", one, local_size);
    }
    const bs_kernel_t flat = plain_kernel<nothing>(100, 1024);
    measure("no collective, local size 1024", "ns per work-item", 102400, 51,
            [&] { return time_launch(one, flat); });
    const bs_kernel_t lone = plain_kernel<nothing>(100000, 1);
    measure("local size 1, one thread", "ns per group", 1e5, 51, [&] { return time_launch(one, lone); });
    measure("local size 1, two threads", "ns per group", 1e5, 51, [&] { return time_launch(two, lone); });
    measure_empty("empty kernel, one thread", one, {}, 2001);
    measure_empty("the same, after a pause", one, std::chrono::milliseconds(1), 301);
    measure_empty("empty kernel, two threads", two, {}, 2001);
    measure_empty("the same, after a pause", two, std::chrono::milliseconds(1), 301);
}
