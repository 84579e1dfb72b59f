// The CPU statistics component beside the read limit: ratios for data in memory, microseconds for small
// calls.
//
//   component_benchmark [megabytes] [samples] [only rows whose name contains this] [busy]
//
// "busy" compares processor times of one thread, for a machine that others use at the same time.
#include "read_limit.hpp"
#include "sandwich.hpp"
#include "tsb/summary_statistics.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <omp.h>
#include <vector>

namespace {

volatile double sink;

/// \brief The component's functions for one element type.
template <class T>
struct api;

template <>
struct api<double> {
    static constexpr auto make = tsbdSSNewTask_64;
    static constexpr auto edit = tsbdSSEditTask;
    static constexpr auto compute = tsbdSSCompute;
};

template <>
struct api<float> {
    static constexpr auto make = tsbsSSNewTask_64;
    static constexpr auto edit = tsbsSSEditTask;
    static constexpr auto compute = tsbsSSCompute;
};

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "component_benchmark: %s failed\n", what);
    std::exit(1);
}

struct shape {
    std::int64_t dims;
    std::int64_t observations;
    std::int64_t storage;
};

/// \brief One estimate over one matrix, ready to be called again and again.
template <class T>
class estimate {
public:
    estimate(const shape& s, const T* data, const T* weights, std::uint64_t bits) : shape_(s), bits_(bits) {
        make(data, weights);
    }
    ~estimate() { tsbSSDeleteTask(&task_); }
    estimate(const estimate&) = delete;
    estimate& operator=(const estimate&) = delete;

    void compute() {
        if (api<T>::compute(task_, bits_, TSB_SS_METHOD_FAST) != TSB_SS_OK) {
            stop("compute");
        }
    }

private:
    void make(const T* data, const T* weights) {
        if (api<T>::make(&task_, &shape_.dims, &shape_.observations, &shape_.storage, data, weights,
                         nullptr)) {
            stop("new task");
        }
        results_.resize(19 * static_cast<std::size_t>(shape_.dims));
        T* next = results_.data();
        for (std::int64_t code = 7; code <= 18; ++code, next += shape_.dims) {
            api<T>::edit(task_, code, next);
        }
        for (std::int64_t code = 75; code <= 81; ++code, next += shape_.dims) {
            api<T>::edit(task_, code, next);
        }
    }

    shape shape_;
    std::uint64_t bits_;
    void* task_ = nullptr;
    std::vector<T> results_;
};

struct options {
    std::size_t bytes = 512u << 20;
    int samples = 25;
    const char* only = "";
};

/// \brief The memory of all rows, filled once with values of moderate spread.
class pool {
public:
    explicit pool(std::size_t bytes)
        : data_(static_cast<double*>(::operator new (bytes, std::align_val_t{64}))) {
        const auto n = static_cast<std::int64_t>(bytes / sizeof(double));
#pragma omp parallel for schedule(static)
        for (std::int64_t i = 0; i < n; ++i) {
            data_[i] = 1.0 + static_cast<double>(i * 2654435761 % 1000003) * 1e-6;
        }
    }
    ~pool() {
        ::operator delete (data_, std::align_val_t{64});
    }
    pool(const pool&) = delete;
    pool& operator=(const pool&) = delete;

    template <class T>
    const T* as() const {
        return reinterpret_cast<const T*>(data_);
    }

private:
    double* data_;
};

void print(const char* name, const bench::sandwich& s, std::size_t bytes) {
    std::printf("%-44s %6.3f  [%.3f %.3f]  %7.2f ms  %6.1f GB/s  limit %6.1f GB/s\n", name, s.ratio, s.low,
                s.high, s.seconds * 1e3, static_cast<double>(bytes) / s.seconds * 1e-9,
                static_cast<double>(bytes) / s.limit * 1e-9);
    std::fflush(stdout);
}

template <class T>
void row(const options& o, const pool& memory, const char* name, std::int64_t dims, std::int64_t storage,
         bool weighted, std::uint64_t bits) {
    if (!std::strstr(name, o.only)) {
        return;
    }
    const auto elements = static_cast<std::int64_t>(o.bytes / sizeof(T));
    // Columns that start at a cache line, as in a matrix of a round size; the row of seven dimensions shows the others.
    const std::int64_t per_row = dims + (weighted ? 1 : 0);
    const std::int64_t observations = dims == 7 ? (elements / per_row - 1) | 1 : elements / per_row / 64 * 64;
    const std::size_t used = static_cast<std::size_t>(observations * (dims + (weighted ? 1 : 0))) * sizeof(T);
    const T* data = memory.as<T>();
    estimate<T> e({dims, observations, storage}, data, weighted ? data + dims * observations : nullptr, bits);
    print(name,
          bench::measure([&] { e.compute(); }, [&] { sink = bench::read_memory(memory.as<double>(), used); },
                         o.samples),
          used);
}

template <class T>
void small(const char* name, std::int64_t dims, std::int64_t observations, std::int64_t storage) {
    std::vector<T> data(static_cast<std::size_t>(dims * observations));
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<T>(1 + static_cast<double>(i * 7919 % 1009) * 1e-3);
    }
    estimate<T> e({dims, observations, storage}, data.data(), nullptr, TSB_SS_EST_KURTOSIS);
    const int repeats = static_cast<int>(std::max<std::int64_t>(1, 400000 / (dims * observations + 400)));
    std::vector<double> times;
    for (int s = 0; s < 51; ++s) {
        times.push_back(bench::seconds([&] {
                            for (int r = 0; r < repeats; ++r) {
                                e.compute();
                            }
                        }) /
                        repeats);
    }
    std::printf("%-44s %9.3f us\n", name, bench::median(times) * 1e6);
}

void ratios(const options& o) {
    const pool memory(o.bytes);
    constexpr std::int64_t columns = TSB_SS_STORAGE_BY_DIMENSION;
    constexpr std::int64_t rows = TSB_SS_STORAGE_BY_OBSERVATION;
    constexpr std::uint64_t kurtosis = TSB_SS_EST_KURTOSIS;
    constexpr std::uint64_t min_max = TSB_SS_EST_MIN | TSB_SS_EST_MAX;
    constexpr std::uint64_t raw_moments =
        TSB_SS_EST_MEAN | TSB_SS_EST_RAW2 | TSB_SS_EST_RAW3 | TSB_SS_EST_RAW4;
    std::printf("ratio to the read limit, median [quartiles] of %d; %zu MiB\n", o.samples, o.bytes >> 20);
    row<double>(o, memory, "kurtosis double by_dimension 8", 8, columns, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_dimension 7 (odd addresses)", 7, columns, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_dimension 1", 1, columns, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 8", 8, rows, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 3", 3, rows, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 100", 100, rows, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 1000", 1000, rows, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 1001", 1001, rows, false, kurtosis);
    row<float>(o, memory, "kurtosis float by_dimension 8", 8, columns, false, kurtosis);
    row<float>(o, memory, "kurtosis float by_observation 8", 8, rows, false, kurtosis);
    row<double>(o, memory, "kurtosis double by_dimension 8 weighted", 8, columns, true, kurtosis);
    row<double>(o, memory, "kurtosis double by_dimension 1 weighted", 1, columns, true, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 8 weighted", 8, rows, true, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 3 weighted", 3, rows, true, kurtosis);
    row<double>(o, memory, "kurtosis double by_observation 100 weighted", 100, rows, true, kurtosis);
    row<float>(o, memory, "kurtosis float by_dimension 8 weighted", 8, columns, true, kurtosis);
    row<double>(o, memory, "min_max double by_dimension 8", 8, columns, false, min_max);
    row<double>(o, memory, "min_max double by_observation 8", 8, rows, false, min_max);
    row<float>(o, memory, "min_max float by_dimension 8", 8, columns, false, min_max);
    row<double>(o, memory, "mean double by_dimension 8", 8, columns, false, TSB_SS_EST_MEAN);
    row<double>(o, memory, "mean double by_observation 8", 8, rows, false, TSB_SS_EST_MEAN);
    row<float>(o, memory, "mean float by_dimension 8", 8, columns, false, TSB_SS_EST_MEAN);
    row<double>(o, memory, "raw moments double by_dimension 8", 8, columns, false, raw_moments);
    row<double>(o, memory, "every estimate double by_dimension 8", 8, columns, false, 0xFE000FFF);
}

void small_calls() {
    constexpr std::int64_t columns = TSB_SS_STORAGE_BY_DIMENSION;
    constexpr std::int64_t rows = TSB_SS_STORAGE_BY_OBSERVATION;
    std::printf("small calls, kurtosis, median of 51\n");
    small<double>("double 8 x 10 by_dimension", 8, 10, columns);
    small<double>("double 8 x 10 by_observation", 8, 10, rows);
    small<double>("double 8 x 1000 by_dimension", 8, 1000, columns);
    small<double>("double 8 x 1000 by_observation", 8, 1000, rows);
    small<double>("double 8 x 100000 by_dimension", 8, 100000, columns);
    small<double>("double 8 x 100000 by_observation", 8, 100000, rows);
    small<float>("float 8 x 1000 by_dimension", 8, 1000, columns);
}

} // namespace

int main(int argc, char** argv) {
    options o;
    if (argc > 1) {
        o.bytes = static_cast<std::size_t>(std::strtoull(argv[1], nullptr, 10)) << 20;
    }
    if (argc > 2) {
        o.samples = std::atoi(argv[2]);
    }
    if (argc > 3) {
        o.only = argv[3];
    }
    if (argc > 4 && std::strcmp(argv[4], "busy") == 0) {
        bench::clock_in_use = bench::clock_kind::this_thread;
        omp_set_num_threads(1);
    }
    if (o.bytes == 0 || o.samples < 1) {
        std::fprintf(stderr, "usage: component_benchmark [megabytes >= 1] [samples >= 1] [name part]\n");
        return 2;
    }
    ratios(o);
    small_calls();
    return 0;
}
