#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

namespace test {

/// Memory for software GPUs, which reach all of the host's, that the host can be shut out of: what it then reads or writes of
/// it ends the program.
class closed_memory {
public:
    closed_memory()
        : start_(static_cast<std::byte*>(
              ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          free_(start_) {
        if (start_ == MAP_FAILED) {
            throw std::runtime_error("no memory can be mapped");
        }
    }
    closed_memory(const closed_memory&) = delete;
    closed_memory& operator=(const closed_memory&) = delete;
    ~closed_memory() { ::munmap(start_, bytes); }

    void* allocate(std::size_t size) {
        const std::size_t aligned = (size + 63) / 64 * 64;
        if (aligned > static_cast<std::size_t>(start_ + bytes - free_)) {
            throw std::runtime_error("the mapped memory is too small");
        }
        return std::exchange(free_, free_ + aligned);
    }
    template <typename T>
    T* hold(const std::vector<T>& values) {
        auto* const array = static_cast<T*>(allocate(values.size() * sizeof(T)));
        std::copy(values.begin(), values.end(), array);
        return array;
    }

    void close() { protect(PROT_NONE); }
    void open() { protect(PROT_READ | PROT_WRITE); }

private:
    static constexpr std::size_t bytes = std::size_t{1} << 20;

    void protect(int access) {
        if (::mprotect(start_, bytes, access) != 0) {
            throw std::runtime_error("memory cannot be protected");
        }
    }

    std::byte* start_;
    std::byte* free_;
};

} // namespace test
