// Memory for the time of one call.
#ifndef TSB_SRC_SCRATCH_HPP
#define TSB_SRC_SCRATCH_HPP

#include <cstddef>
#include <cstdint>
#include <new>

namespace tsb {

/// 64-byte aligned doubles, inside this object up to `stack_doubles`: a small call allocates nothing.
template <std::int64_t stack_doubles>
class scratch {
public:
    explicit scratch(std::int64_t size) {
        if (size <= stack_doubles) {
            memory_ = local_;
        } else {
            heap_ = memory_ = static_cast<double*>(::operator new (
                static_cast<std::size_t>(size) * sizeof(double), std::align_val_t{64}, std::nothrow));
        }
    }
    ~scratch() { ::operator delete (heap_, std::align_val_t{64}); }
    scratch(const scratch&) = delete;
    scratch& operator=(const scratch&) = delete;

    /// Null if there is no memory.
    double* get() const { return memory_; }

private:
    alignas(64) double local_[stack_doubles];
    double* memory_;
    double* heap_ = nullptr;
};

} // namespace tsb

#endif
