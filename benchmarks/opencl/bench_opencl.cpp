// The device path on an OpenCL device presented as a GPU: kurtosis beside transform_reduce of Boost.Compute, mean beside
// a kernel that only reads. One process, interleaved, medians.
#include "../rounds.hpp"
#include "../write_report.hpp"
#include "opencl_side.hpp"

#include <stats/stats.hpp>
#include <sycl/interop_opencl.hpp>
#include <sycl/sycl.hpp>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <random>

namespace {

namespace stats = aurelo::qtx::stats;
using bench::placement;

constexpr std::size_t n_dims = 8;
constexpr std::size_t n_observations = std::size_t{1} << 20;
constexpr int n_samples = 25;

/// What the sides beside the library run on: its device and context, and a queue in order, as they expect.
class peer_queue {
public:
    explicit peer_queue(const sycl::queue& queue) {
        constexpr auto opencl = sycl::backend::opencl;
        handles_.device = sycl::get_native<opencl>(queue.get_device());
        handles_.context = sycl::get_native<opencl>(queue.get_context());
        handles_.queue =
            clCreateCommandQueueWithProperties(handles_.context, handles_.device, nullptr, nullptr);
        if (handles_.queue == nullptr) {
            throw std::runtime_error("no OpenCL queue");
        }
    }
    ~peer_queue() { clReleaseCommandQueue(handles_.queue); }
    peer_queue(const peer_queue&) = delete;
    peer_queue& operator=(const peer_queue&) = delete;

    const bench::opencl_handles& handles() const { return handles_; }

private:
    bench::opencl_handles handles_{};
};

/// The public estimates in memory shared with the device.
template <typename T, stats::layout L>
class ours {
public:
    ours(sycl::queue& queue, const std::vector<T>& values)
        : queue_(queue), values_(sycl::malloc_shared<T>(values.size(), queue)),
          result_(sycl::malloc_shared<T>(n_dims, queue)) {
        std::copy(values.begin(), values.end(), values_);
    }
    ~ours() {
        sycl::free(values_, queue_);
        sycl::free(result_, queue_);
    }
    ours(const ours&) = delete;
    ours& operator=(const ours&) = delete;

    std::vector<T> mean() {
        stats::mean(queue_, data(), result_).wait();
        return {result_, result_ + n_dims};
    }
    std::vector<T> kurtosis() {
        stats::kurtosis(queue_, data(), result_).wait();
        return {result_, result_ + n_dims};
    }

private:
    stats::dataset<L, T*> data() const { return {n_dims, n_observations, values_}; }

    sycl::queue& queue_;
    T* values_;
    T* result_;
};

template <typename T>
std::vector<T> random_values() {
    std::mt19937_64 random(7);
    std::normal_distribution<T> normal(T(0.5), T(1));
    std::vector<T> values(n_dims * n_observations);
    for (T& each : values) {
        each = normal(random);
    }
    return values;
}

template <typename T>
void require_alike(const std::vector<T>& a, const std::vector<T>& b, double tolerance, const char* what) {
    for (std::size_t d = 0; d < a.size(); ++d) {
        if (!(std::abs(a[d] - b[d]) <= tolerance)) {
            throw std::runtime_error(fmt::format("{} of dimension {}: {} and {}", what, d, a[d], b[d]));
        }
    }
}

struct line {
    const char* name;
    double first; ///< seconds of the first call
    bench::sandwich measured;
};

nlohmann::json print_and_report(const char* type, const char* layout, const std::vector<line>& lines) {
    nlohmann::json sides = nlohmann::json::array();
    for (const auto& [name, first, r] : lines) {
        const double per_element = r.seconds * 1e9 / (n_dims * n_observations);
        fmt::print("{:<7} {:<15} {:<24} {:>9.1f} {:>9.2f} {:>11.3f} {:>9.2f}\n", type, layout, name,
                   first * 1e3, r.seconds * 1e3, per_element, 1 / r.ratio);
        sides.push_back({{"name", name},
                         {"first_seconds", first},
                         {"seconds", r.seconds},
                         {"nanoseconds_per_element", per_element},
                         {"limits", 1 / r.ratio}});
    }
    return {{"type", type}, {"layout", layout}, {"sides", sides}};
}

template <typename T, stats::layout L>
nlohmann::json compare(sycl::queue& queue, const char* type) {
    constexpr bool by_dimension = L == stats::layout::by_dimension;
    const char* const layout = by_dimension ? "by_dimension" : "by_observation";
    const auto values = random_values<T>();
    const bench::matrix_view<T> view{values.data(), n_dims, n_observations,
                                     by_dimension ? placement::by_dimension : placement::by_observation};
    ours<T, L> library(queue, values);
    const peer_queue in_order(queue);
    const auto limit = bench::plain_sum(in_order.handles(), view);
    const auto peer = bench::boost_compute_kurtosis(in_order.handles(), view);

    std::vector<T> mean, kurtosis, peers;
    const double first_sum = bench::seconds([&] { limit(); });
    const double first_mean = bench::seconds([&] { mean = library.mean(); });
    const double first_kurtosis = bench::seconds([&] { kurtosis = library.kurtosis(); });
    const double first_peer = bench::seconds([&] { peers = peer(); });
    require_alike(kurtosis, peers, sizeof(T) == 4 ? 0.05 : 1e-9, "kurtosis");
    require_alike(mean, std::vector<T>(n_dims, T(0.5)), 0.01, "mean");

    const auto measured =
        bench::measure_rounds({[&] { library.mean(); }, [&] { library.kurtosis(); }, [&] { peer(); }},
                              [&] { limit(); }, {n_samples, n_samples, 60});
    const double limit_seconds = measured[0].result.limit;
    auto row = print_and_report(type, layout,
                                {{"plain sum (limit)", first_sum, {1, 1, 1, limit_seconds, limit_seconds}},
                                 {"mean", first_mean, measured[0].result},
                                 {"kurtosis", first_kurtosis, measured[1].result},
                                 {"kurtosis, Boost.Compute", first_peer, measured[2].result}});
    fmt::print("{:<7} {:<15} Boost.Compute / kurtosis: {:.2f}\n", type, layout,
               measured[2].result.seconds / measured[1].result.seconds);
    return row;
}

nlohmann::json run() {
    sycl::queue queue(sycl::gpu_selector_v);
    if (queue.get_backend() != sycl::backend::opencl) {
        throw std::runtime_error("this machine has no OpenCL device");
    }
    const auto device = queue.get_device().get_info<sycl::info::device::name>();
    fmt::print("{} dimensions of {} observations on {}, median of {}\n\n", n_dims, n_observations, device,
               n_samples);
    fmt::print("{:<7} {:<15} {:<24} {:>9} {:>9} {:>11} {:>9}\n", "type", "layout", "", "first, ms",
               "warm, ms", "ns/element", "/ limit");
    nlohmann::json rows = nlohmann::json::array();
    rows.push_back(compare<float, stats::layout::by_dimension>(queue, "float"));
    rows.push_back(compare<float, stats::layout::by_observation>(queue, "float"));
    rows.push_back(compare<double, stats::layout::by_dimension>(queue, "double"));
    rows.push_back(compare<double, stats::layout::by_observation>(queue, "double"));
    return {{"device", device}, {"dims", n_dims}, {"observations", n_observations}, {"rows", rows}};
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("The device path on an OpenCL device beside Boost.Compute and a kernel that only reads.");
    std::string json;
    app.add_option("--json", json, "also write all results to this file");
    CLI11_PARSE(app, argc, argv);
    setenv("SYCL_OPENCL_DEVICE_TYPE", "gpu", 0);
    try {
        bench::write_report(run(), json);
    } catch (const std::exception& error) {
        fmt::print(stderr, "bench_opencl: {}\n", error.what());
        return 1;
    }
    return 0;
}
