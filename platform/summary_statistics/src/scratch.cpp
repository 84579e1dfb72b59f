#include "scratch.hpp"

namespace tsb {

namespace {

constexpr std::align_val_t alignment{64};

void* allocate(std::int64_t bytes) {
    return ::operator new(static_cast<std::size_t>(bytes), alignment, std::nothrow);
}

void release(void* memory) {
    ::operator delete(memory, alignment);
}

} // namespace

thread_block::thread_block(std::int64_t bytes)
    : bytes_(bytes), key_{}, has_key_(pthread_key_create(&key_, &release) == 0) {}

void* thread_block::get() const {
    if (!has_key_) {
        return nullptr;
    }
    void* block = pthread_getspecific(key_);
    if (block == nullptr) {
        block = allocate(bytes_);
        if (block != nullptr && pthread_setspecific(key_, block) != 0) {
            release(block);
            block = nullptr;
        }
    }
    return block;
}

scratch::scratch(const thread_block& kept, std::int64_t bytes) : owned_(false) {
    void* memory = bytes <= kept.bytes() ? kept.get() : nullptr;
    if (memory == nullptr) {
        memory = allocate(bytes);
        owned_ = true;
    }
    // Begins the lifetime of whatever elements a call makes of it; what an earlier one left there was of other types.
    memory_ = memory == nullptr ? nullptr : ::new (memory) std::byte[static_cast<std::size_t>(bytes)];
}

scratch::~scratch() {
    if (owned_) {
        release(memory_);
    }
}

} // namespace tsb
