#pragma once

#include <omptarget/interop.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

/// What `#pragma omp interop` gives a program: properties, and a routine to call when asynchronous work is
/// over.
struct omptarget_interop_s {
public:
    omptarget_interop_s(int runtime, int backend_kind);

    /// The status of the read; \p value is written if there is one, even when the read is made to fail.
    int read_pointer(int property, void*& value);
    int read_int(int property, std::intptr_t& value);

    void set_pointer(int property, void* value);
    void set_int(int property, std::intptr_t value);
    void fail(int property, int status);
    void set_nowait(bool nowait);
    std::vector<int> reads() const;

    void complete();
    unsigned completions() const;
    bool wait(unsigned count, unsigned timeout_ms);

private:
    template <typename Values, typename Value>
    int read(const Values& values, int property, Value& value);

    // Reads must not fail for want of memory: the first ones are kept, in storage made with the object.
    static constexpr std::size_t max_reads = 1024;

    mutable std::mutex lock_;
    std::condition_variable completed_;
    unsigned completions_ = 0;
    unsigned char nowait_ = 0;
    std::int32_t backend_kind_;
    std::map<int, void*> pointers_;
    std::map<int, std::intptr_t> ints_;
    std::map<int, int> failures_;
    std::vector<int> reads_;
};
