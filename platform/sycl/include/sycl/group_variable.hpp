#pragma once

#include <sycl/detail/local_pool.hpp>
#include <sycl/group_algorithm.hpp>

#include <type_traits>

namespace sycl::ext::aurelo {

/**
 * A value that the work-items of a group agree on, such as the place that a loop of theirs has reached: each of
 * them sets the same. On the host every work-item keeps its own. In a device image the group has one, in local
 * memory: a compiler that runs the work-items of a group in turn would keep one for each of them in memory, and
 * would not see that they are the same. A kernel has one variable at most.
 */
template <typename T>
class group_variable {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= detail::group_variable_bytes,
                  "a group variable is plain and of at most 128 bytes");

public:
    /// Collective.
    group_variable(const group<1>& over, const T& value) : over_(over) { set(value); }
    group_variable(const group_variable&) = delete;
    group_variable& operator=(const group_variable&) = delete;

#ifdef __SYCL_DEVICE_ONLY__
    /// Collective.
    void set(const T& value) {
        if (over_.leader()) {
            shared() = value;
        }
        group_barrier(over_);
    }
    /// Collective, so that set() may follow.
    T get() const {
        const T value = shared();
        group_barrier(over_);
        return value;
    }
    /// Not collective: a collective operation has to lie between this and the next set().
    const T& peek() const {
        return shared();
    }

private:
    static T& shared() {
        return *reinterpret_cast<T*>(detail::builtin::group_scratch());
    }
#else
    void set(const T& value) {
        own_ = value;
    }
    const T& peek() const {
        return own_;
    }
    T get() const {
        return own_;
    }

private:
    T own_;
#endif
    group<1> over_;
};

} // namespace sycl::ext::aurelo
