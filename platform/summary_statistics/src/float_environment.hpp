// The arithmetic must not depend on the thread that it happens to run on: a caller may have changed its rounding mode,
// and threads begin with the environment of the one that made them.
#ifndef TSB_SRC_FLOAT_ENVIRONMENT_HPP
#define TSB_SRC_FLOAT_ENVIRONMENT_HPP

#if defined(__SSE2__)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

namespace tsb {

/// \brief The default floating-point environment for the lifetime of the object: rounding to nearest, denormal numbers,
/// no traps. The destructor restores the thread's own one, with the flags as they were.
class default_float_environment {
public:
    default_float_environment(const default_float_environment&) = delete;
    default_float_environment& operator=(const default_float_environment&) = delete;

#if defined(__SSE2__)
    // All arithmetic is in vector registers: the x87 environment, which takes 100 cycles to change, does not matter.
    default_float_environment() : own_(_mm_getcsr()) {
        _mm_setcsr(default_control);
    }
    ~default_float_environment() {
        _mm_setcsr(own_);
    }

private:
    static constexpr unsigned default_control = 0x1f80; // all exceptions masked
    unsigned own_;
#else
    default_float_environment() {
        std::fegetenv(&own_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~default_float_environment() {
        std::fesetenv(&own_);
    }

private:
    std::fenv_t own_;
#endif
};

} // namespace tsb

#endif
