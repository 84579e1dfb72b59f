// Memory for the time of one call.
#ifndef TSB_SRC_SCRATCH_HPP
#define TSB_SRC_SCRATCH_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace tsb {

/// 64-byte aligned doubles, inside this object up to `stack_doubles`: a small call allocates nothing.
template <std::int64_t stack_doubles>
class scratch {
public:
    explicit scratch(std::int64_t size)
        : heap_(size <= stack_doubles ? nullptr : allocate(size)),
          memory_(size <= stack_doubles ? local_ : heap_.get()) {}
    scratch(const scratch&) = delete;
    scratch& operator=(const scratch&) = delete;

    /// Null if there is no memory.
    double* get() const { return memory_; }

private:
    static constexpr std::align_val_t alignment{64};

    struct release {
        void operator()(double* memory) const { ::operator delete(memory, alignment); }
    };

    static double* allocate(std::int64_t size) {
        return static_cast<double*>(
            ::operator new(static_cast<std::size_t>(size) * sizeof(double), alignment, std::nothrow));
    }

    alignas(64) double local_[stack_doubles];
    std::unique_ptr<double, release> heap_;
    double* memory_;
};

} // namespace tsb

#endif
