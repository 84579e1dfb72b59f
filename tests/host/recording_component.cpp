#include "recording_component.hpp"

#include <tsb/summary_statistics.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace {

std::mutex lock;
std::vector<std::string> calls;
std::string failing_word;
std::int32_t failing_status = 0;
std::atomic<int> live{0};

std::int32_t record(const std::string& call) {
    const std::lock_guard guard(lock);
    calls.push_back(call);
    if (!failing_word.empty() && call.rfind(failing_word, 0) == 0) {
        failing_word.clear();
        return failing_status;
    }
    return 0;
}

template <typename... Arrays>
std::string presence(const Arrays*... arrays) {
    std::string result;
    ((result += arrays != nullptr ? 'p' : '-'), ...);
    return result;
}

template <typename T>
std::int32_t new_task(void** task, const std::int64_t* dimensions, const std::int64_t* observations,
                      const std::int64_t* storage, const T* matrix, const T* weights,
                      const std::int64_t* mask) {
    const std::string shape = std::to_string(*dimensions) + "x" + std::to_string(*observations);
    const auto status = record(std::string("new ") + (sizeof(T) == 4 ? "float " : "double ") + shape + " " +
                               std::to_string(*storage) + " " + presence(matrix, weights, mask));
    if (status == 0) {
        *task = new int(0);
        ++live;
    }
    return status;
}

std::int32_t compute(std::uint64_t estimates, std::int32_t method) {
    return record("compute " + std::to_string(estimates) + " " + std::to_string(method));
}

} // namespace

namespace test::component {

std::vector<std::string> take_calls() {
    const std::lock_guard guard(lock);
    return std::exchange(calls, {});
}

void fail_at(const std::string& word, std::int32_t status) {
    const std::lock_guard guard(lock);
    failing_word = word;
    failing_status = status;
}

int live_tasks() {
    return live;
}

} // namespace test::component

#define RECORDING_OPERATIONS(PREFIX, T)                                                                      \
    std::int32_t PREFIX##SSNewTask_64(void** task, const std::int64_t* d, const std::int64_t* n,             \
                                      const std::int64_t* storage, const T* x, const T* w,                   \
                                      const std::int64_t* mask) {                                            \
        return new_task<T>(task, d, n, storage, x, w, mask);                                                 \
    }                                                                                                        \
    std::int32_t PREFIX##SSEditTask(void*, std::int64_t parameter, T* array) {                               \
        return record("edit " + std::to_string(parameter) + " " + presence(array));                          \
    }                                                                                                        \
    std::int32_t PREFIX##SSEditMoments(void*, T* a, T* b, T* c, T* d, T* e, T* f, T* g) {                    \
        return record("moments " + presence(a, b, c, d, e, f, g));                                           \
    }                                                                                                        \
    std::int32_t PREFIX##SSEditSums(void*, T* a, T* b, T* c, T* d, T* e, T* f, T* g) {                       \
        return record("sums " + presence(a, b, c, d, e, f, g));                                              \
    }                                                                                                        \
    std::int32_t PREFIX##SSCompute(void*, std::uint64_t estimates, std::int32_t method) {                    \
        return compute(estimates, method);                                                                   \
    }

extern "C" {
RECORDING_OPERATIONS(tsbs, float)
RECORDING_OPERATIONS(tsbd, double)

std::int32_t tsbSSDeleteTask(void** task) {
    delete static_cast<int*>(*task);
    *task = nullptr;
    --live;
    return record("delete");
}
}
