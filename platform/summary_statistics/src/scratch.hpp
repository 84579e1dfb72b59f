// Memory for the time of one call. None of it is on the stack: the component runs on threads that others make, and whose
// stacks may be small.
#ifndef TSB_SRC_SCRATCH_HPP
#define TSB_SRC_SCRATCH_HPP

#include <cstddef>
#include <cstdint>
#include <new>
#include <pthread.h>

namespace tsb {

/// \brief A block of memory per thread, which stays until the thread ends: a small call allocates nothing.
///
/// Behind a key of POSIX threads: a `thread_local` object ends the process where there is no memory for it.
class thread_block {
public:
    explicit thread_block(std::int64_t bytes);
    thread_block(const thread_block&) = delete;
    thread_block& operator=(const thread_block&) = delete;

    std::int64_t bytes() const { return bytes_; }
    /// The block of the calling thread; null if there is no memory for it.
    void* get() const;

private:
    std::int64_t bytes_;
    pthread_key_t key_;
    bool has_key_;
};

/// \brief Memory of the calling thread, 64-byte aligned: its block of `kept` if that is large enough. One at a time may be
/// in use of each block.
class scratch {
public:
    scratch(const thread_block& kept, std::int64_t bytes);
    ~scratch();
    scratch(const scratch&) = delete;
    scratch& operator=(const scratch&) = delete;

    /// Whether there was memory.
    explicit operator bool() const { return memory_ != nullptr; }

    /// Uninitialised elements from an offset on. Every element of the memory is to be of one type during a call.
    template <class T>
    T* elements(std::int64_t first_byte = 0) const {
        return std::launder(reinterpret_cast<T*>(memory_ + first_byte));
    }

private:
    std::byte* memory_;
    bool owned_;
};

} // namespace tsb

#endif
