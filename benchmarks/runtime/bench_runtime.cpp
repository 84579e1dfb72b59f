// What a hit of the context cache costs beside the same look-up under std::shared_mutex, and what a whole
// queue lookup costs by branch. Both sides of a ratio run in turns; figures are medians.
#include "../sandwich.hpp"

#include "natives.hpp"
#include "opencl_natives.hpp"
#include "threads.hpp"

#include <offload/queue_lookup.hpp>
#include <runtime/qtx_sycl_context_cache.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace {

using namespace aurelo::qtx::gpu;
using aurelo::qtx::stats::detail::openmp::qtx_tb_omp_get_openmp_queue;

using bench::median;

constexpr int n_rounds = 25;

/// The cache as a textbook writes it.
class shared_mutex_cache {
public:
    void add(void* context, void* device, const sycl::context& object) {
        cache_.emplace(std::pair(context, device), object);
    }
    const sycl::context* find(void* context, void* device) {
        const std::shared_lock guard(lock_);
        const auto found = cache_.find({context, device});
        return found == cache_.end() ? nullptr : &found->second;
    }

private:
    std::shared_mutex lock_;
    std::unordered_map<std::pair<void*, void*>, sycl::context, pair_hash> cache_;
};

template <typename Call>
double nanoseconds_per_call(std::size_t n_threads, std::size_t n_calls, const Call& call) {
    const auto each = test::on_threads(n_threads, [&](std::size_t) {
        return bench::seconds([&] {
            for (std::size_t i = 0; i < n_calls; ++i) {
                call();
            }
        });
    });
    return 1e9 * *std::max_element(each.begin(), each.end()) / static_cast<double>(n_calls);
}

void compare_hits(const test::basalt_natives& natives) {
    auto device = natives.sycl_device();
    shared_mutex_cache other;
    const auto hit = [&] {
        return lookup_and_cache_nerva_context(natives.context, natives.device, qtx_gpu_backend_basalt,
                                              &device);
    };
    other.add(natives.context, natives.device, *hit());
    const auto other_hit = [&] { return other.find(natives.context, natives.device); };
    for (const std::size_t n_threads : {1U, 2U}) {
        std::vector<double> ours, theirs, ratios;
        for (int round = 0; round < n_rounds; ++round) {
            ours.push_back(nanoseconds_per_call(n_threads, 200'000, hit));
            theirs.push_back(nanoseconds_per_call(n_threads, 200'000, other_hit));
            ratios.push_back(ours.back() / theirs.back());
        }
        std::printf("cache hit, %zu thread(s): %6.1f ns, std::shared_mutex %6.1f ns, ratio %.2f\n", n_threads,
                    median(ours), median(theirs), median(ratios));
    }
}

void time_lookup(const char* branch, const test::interop_object& interop) {
    std::vector<double> times;
    for (int round = 0; round < n_rounds; ++round) {
        times.push_back(nanoseconds_per_call(1, 2'000, [&] {
            int id = 0;
            const auto queue = qtx_tb_omp_get_openmp_queue(interop.get(), id);
            if (id == 0) {
                std::fprintf(stderr, "no queue\n");
                std::exit(1);
            }
        }));
    }
    std::printf("queue lookup, %-7s %8.2f microseconds\n", branch, median(times) / 1000);
}

} // namespace

int main() {
    const test::basalt_natives natives;
    compare_hits(natives);
    sycl::queue own{natives.sycl_device()};
    time_lookup("SYCL:", test::interop_object(omptarget_interop_create_sycl(&own)));
    time_lookup("basalt:", test::interop_of(natives));
    const test::opencl_natives opencl;
    if (opencl.queue == nullptr) {
        std::printf("queue lookup, OpenCL:  no device here\n");
    } else {
        time_lookup("OpenCL:", test::interop_of(opencl));
    }
}
