#pragma once

#include <sycl/access.hpp>

#include <cstddef>
#include <type_traits>

namespace sycl {

/**
 * A pointer that knows its address space. In host-compiled code and in the device compile of this runtime the
 * pointer itself is a generic one, so that decoration changes the type and nothing else.
 */
template <typename T, access::address_space Space, access::decorated Decorated = access::decorated::no>
class multi_ptr {
public:
    using value_type = T;
    using pointer = T*;
    using reference = T&;
    using difference_type = std::ptrdiff_t;
    static constexpr access::address_space address_space = Space;
    static constexpr bool is_decorated = Decorated == access::decorated::yes;

    multi_ptr() = default;
    constexpr multi_ptr(std::nullptr_t) {}
    constexpr explicit multi_ptr(T* raw) : raw_(raw) {}

    /// From the same pointer with another decoration, or from one to a less qualified type.
    template <typename U, access::decorated Other, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    constexpr multi_ptr(const multi_ptr<U, Space, Other>& other) : raw_(other.get_raw()) {}

    constexpr T* get() const { return raw_; }
    constexpr T* get_raw() const { return raw_; }
    constexpr T& operator*() const { return *raw_; }
    constexpr T* operator->() const { return raw_; }
    constexpr T& operator[](std::ptrdiff_t index) const { return raw_[index]; }
    constexpr explicit operator T*() const { return raw_; }

    multi_ptr& operator+=(std::ptrdiff_t n) {
        raw_ += n;
        return *this;
    }
    multi_ptr& operator-=(std::ptrdiff_t n) { return *this += -n; }
    friend constexpr multi_ptr operator+(multi_ptr p, std::ptrdiff_t n) { return multi_ptr(p.raw_ + n); }
    friend constexpr multi_ptr operator-(multi_ptr p, std::ptrdiff_t n) { return multi_ptr(p.raw_ - n); }
    friend constexpr bool operator==(multi_ptr a, multi_ptr b) { return a.raw_ == b.raw_; }
    friend constexpr bool operator!=(multi_ptr a, multi_ptr b) { return a.raw_ != b.raw_; }

private:
    T* raw_ = nullptr;
};

template <typename T, access::decorated Decorated = access::decorated::no>
using global_ptr = multi_ptr<T, access::address_space::global_space, Decorated>;
template <typename T, access::decorated Decorated = access::decorated::no>
using local_ptr = multi_ptr<T, access::address_space::local_space, Decorated>;
template <typename T>
using decorated_global_ptr = global_ptr<T, access::decorated::yes>;
template <typename T>
using decorated_local_ptr = local_ptr<T, access::decorated::yes>;

/// The caller's promise that \p pointer lies in \p Space.
template <access::address_space Space, access::decorated Decorated, typename T>
multi_ptr<T, Space, Decorated> address_space_cast(T* pointer) {
    return multi_ptr<T, Space, Decorated>(pointer);
}

} // namespace sycl
