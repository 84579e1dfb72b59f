// From one stack to another.
#pragma once

#include "sanitizer.hpp"

#include <boost/context/detail/fcontext.hpp>

namespace basalt {

/// A suspended stack.
using suspended = boost::context::detail::fcontext_t;

/// Suspends the running stack and goes on with \p to. Returns when something switches back, with what was
/// running there.
inline suspended switch_context(suspended to) {
#if defined(__x86_64__) && !defined(BASALT_ASAN) && !defined(BASALT_TSAN)
    // jump_fcontext() ends with a jump. A call of it would leave an entry on the processor's return stack
    // that nothing takes off, and the next return would be mispredicted: 12.8 ns a switch
    // instead of 5.4. So it is entered by a jump too.
    suspended from;
    void* data = nullptr;
    asm volatile("leaq -128(%%rsp), %%rsp\n\t" // past the red zone
                 "leaq 1f(%%rip), %%rax\n\t"
                 "pushq %%rax\n\t"
                 "jmp jump_fcontext@PLT\n"
                 "1:\n\t"
                 "leaq 128(%%rsp), %%rsp"
                 : "=a"(from), "+D"(to), "+S"(data)
                 :
                 : "rcx", "rdx", "r8", "r9", "r10", "r11", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5",
                   "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "cc",
                   "memory");
    return from;
#else
    return boost::context::detail::jump_fcontext(to, nullptr).fctx;
#endif
}

} // namespace basalt
