#pragma once

#include <string>

namespace test {

/// Kinds of calls that can be made to fail, in any library of the process.
enum class call_family {
    driver,    ///< bs_* and cl*, with the driver's code for want of memory or resources
    execution, ///< commands: they are submitted, and fail while they run
    memory,    ///< operator new and, without a sanitizer, malloc and its kin
    mapping,   ///< mmap: ENOMEM
    opening,   ///< open, fopen, opendir and their kin: EMFILE
    writing,   ///< write and its kin: ENOSPC
    threads    ///< pthread_create: EAGAIN
};

struct fault {
    call_family family;
    int nth = 0;                    ///< the call that fails, counted from 0
    bool lasting = false;           ///< all calls from there on fail
    bool this_thread = false;       ///< calls of other threads are not counted
    const char* function = nullptr; ///< unless null, calls of other functions are not counted
    const void* user = nullptr;     ///< unless null, only callbacks asked for with it are counted
};

/**
 * Makes calls fail for as long as it lives; one at a time in a process.
 *
 * What a driver or its compiler does inside an entry of OpenCL, or on a thread of its own, and what the OpenMP
 * run-time does, never fails: they end the process when they are short of memory or threads, which no caller
 * can help.
 */
class injection {
public:
    /// \param failed receives the function of the first call that fails; it may be shared with another process
    injection(const fault& what, const char*& failed);
    ~injection();
    injection(const injection&) = delete;
    injection& operator=(const injection&) = delete;

    /// How many calls were counted.
    int calls() const;
    /// Whether a call has failed.
    bool reached() const;
};

/// What the process holds.
struct holdings {
    long driver_objects = 0; ///< made or retained, less destroyed or released
    long allocations = 0;    ///< of operator new
    long files = 0;          ///< open descriptors

    static holdings now();
    /// Whether there is more of anything: of the allocations by more than \p tolerance, of objects by an eighth of it.
    bool exceed(const holdings& other, long tolerance = 0) const;
    holdings lowest(const holdings& other) const;
    std::string text() const;
};

/// What the process holds when threads have let go of what they shared: the least of a millisecond, or no more than
/// \p before, which is waited for so many milliseconds.
holdings settled();
holdings settled(const holdings& before, int milliseconds = 2);

} // namespace test
