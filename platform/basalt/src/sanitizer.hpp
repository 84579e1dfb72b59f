// What the sanitizers must be told about work-items that run as fibers; nothing at all in a plain build.
//
// The thread sanitizer sees every work-item as a thread of its own: switches carry no order, only collectives
// do, so that it reports races between the work-items of a kernel. The engine's own bookkeeping is shared by
// all fibers without any order that it could see, and is therefore hidden from it: engine_scope hides,
// kernel_scope shows again.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define BASALT_ASAN 1
#elif defined(__SANITIZE_THREAD__)
#define BASALT_TSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BASALT_ASAN 1
#elif __has_feature(thread_sanitizer)
#define BASALT_TSAN 1
#endif
#endif

#if defined(BASALT_ASAN)
#include <pthread.h>
#include <sanitizer/common_interface_defs.h>
#include <sanitizer/lsan_interface.h>
#elif defined(BASALT_TSAN)
#include <sanitizer/tsan_interface.h>
extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

namespace basalt::sanitizer {

#if defined(BASALT_TSAN)
inline constexpr bool detects_races = true;
#else
inline constexpr bool detects_races = false;
#endif
#if defined(BASALT_TSAN) || defined(BASALT_ASAN)
inline constexpr bool present = true;
#else
inline constexpr bool present = false;
#endif

#if defined(BASALT_ASAN)

/// Bounds and shadow of one stack: a fiber's or the worker thread's own.
class stack_record {
public:
    void describe_fiber(const void* bottom, std::size_t size) {
        bottom_ = bottom;
        size_ = size;
    }
    void describe_this_thread() {
        static thread_local const bounds own = bounds_of_this_thread();
        bottom_ = own.bottom;
        size_ = own.size;
    }
    void before_switch(const stack_record& to) {
        __sanitizer_start_switch_fiber(&shadow_, to.bottom_, to.size_);
    }
    void before_first_switch(const stack_record& to) { before_switch(to); }
    void after_switch() { __sanitizer_finish_switch_fiber(shadow_, nullptr, nullptr); }

private:
    struct bounds {
        void* bottom = nullptr;
        std::size_t size = 0;
    };
    static bounds bounds_of_this_thread() {
        bounds own;
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstack(&attributes, &own.bottom, &own.size);
        pthread_attr_destroy(&attributes);
        return own;
    }

    void* shadow_ = nullptr;
    const void* bottom_ = nullptr;
    std::size_t size_ = 0;
};

#elif defined(BASALT_TSAN)

class stack_record {
public:
    void describe_fiber(const void*, std::size_t) { fiber_ = __tsan_create_fiber(0); }
    void describe_this_thread() { fiber_ = __tsan_get_current_fiber(); }
    void before_switch(const stack_record& to) {
        __tsan_switch_to_fiber(to.fiber_, __tsan_switch_to_fiber_no_sync);
    }
    /// The first switch carries order: the new fiber reads what its maker has put onto its stack.
    void before_first_switch(const stack_record& to) { __tsan_switch_to_fiber(to.fiber_, 0); }
    void after_switch() {}

private:
    void* fiber_ = nullptr;
};

#else

class stack_record {
public:
    void describe_fiber(const void*, std::size_t) {}
    void describe_this_thread() {}
    void before_switch(const stack_record&) {}
    void before_first_switch(const stack_record&) {}
    void after_switch() {}
};

#endif

/// While this lives, what the stacks point at is no leak: a suspended work-item may hold the only pointer to
/// something.
class live_stacks {
public:
    live_stacks(const void* begin, std::size_t bytes) : begin_(begin), bytes_(bytes) {
#if defined(BASALT_ASAN)
        __lsan_register_root_region(begin_, bytes_);
#endif
    }
    ~live_stacks() {
#if defined(BASALT_ASAN)
        __lsan_unregister_root_region(begin_, bytes_);
#endif
    }
    live_stacks(const live_stacks&) = delete;
    live_stacks& operator=(const live_stacks&) = delete;

private:
    [[maybe_unused]] const void* begin_;
    [[maybe_unused]] std::size_t bytes_;
};

#if defined(BASALT_TSAN)

inline void hide() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
}
inline void show() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
}

/// A point of order: what came before any release() comes before what follows a later acquire().
class order_point {
public:
    void release() { __tsan_release(&word_); }
    void acquire() { __tsan_acquire(&word_); }

private:
    char word_ = 0;
};

#else

inline void hide() {}
inline void show() {}

class order_point {
public:
    void release() {}
    void acquire() {}
};

#endif

/// The engine at work.
class engine_scope {
public:
    engine_scope() { hide(); }
    ~engine_scope() { show(); }
    engine_scope(const engine_scope&) = delete;
    engine_scope& operator=(const engine_scope&) = delete;
};

/// The user's code inside the engine.
class kernel_scope {
public:
    kernel_scope() { show(); }
    ~kernel_scope() { hide(); }
    kernel_scope(const kernel_scope&) = delete;
    kernel_scope& operator=(const kernel_scope&) = delete;
};

} // namespace basalt::sanitizer
