#pragma once

#include <sycl/access.hpp>
#include <sycl/multi_ptr.hpp>
#include <sycl/range.hpp>

#ifndef __SYCL_DEVICE_ONLY__
#include <sycl/detail/binding.hpp>
#endif

#include <cstddef>
#include <type_traits>

namespace sycl {

class handler;

namespace detail {
#ifndef __SYCL_DEVICE_ONLY__
/// Reserves local memory for the command and returns its offset from the group's base.
SYCL_EXPORT std::size_t reserve_local(handler& group, std::size_t bytes, std::size_t alignment);
#endif
} // namespace detail

/**
 * An array in the local memory of each work-group. In a host-compiled kernel a copy made for a worker thread
 * learns the thread's memory; a kernel on a device has it bound by its entry. Either way the pointer is the
 * base plus the offset.
 */
template <typename T, int Dims = 1>
class local_accessor {
    static_assert(Dims == 1, "this runtime supports one-dimensional accessors");
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using value_type = T;
    using reference = T&;
    using iterator = T*;
    using size_type = std::size_t;
    static constexpr int dimensions = Dims;

#ifndef __SYCL_DEVICE_ONLY__
    local_accessor() = default;
    local_accessor(range<Dims> extent, handler& group, const property_list& = {})
        : offset_(detail::reserve_local(group, extent.size() * sizeof(T), alignof(T))), extent_(extent) {}
    local_accessor(const local_accessor& other)
        : pointer_(other.pointer_), offset_(other.offset_), extent_(other.extent_) {
        if (void* base = detail::local_memory()) {
            bind(base);
        }
    }
    local_accessor& operator=(const local_accessor&) = default;
    ~local_accessor() = default;
#endif

    /// Points the accessor into the group's memory; a second call with the same base changes nothing.
    void bind(void* base) {
        pointer_ = reinterpret_cast<T*>(static_cast<std::byte*>(base) + offset_);
    }

    T& operator[](std::size_t index) const {
        return pointer_[index];
    }
    std::size_t size() const noexcept {
        return extent_.size();
    }
    std::size_t byte_size() const noexcept {
        return size() * sizeof(T);
    }
    bool empty() const noexcept {
        return size() == 0;
    }
    range<Dims> get_range() const {
        return extent_;
    }
    iterator begin() const noexcept {
        return pointer_;
    }
    iterator end() const noexcept {
        return pointer_ + size();
    }

    template <access::decorated Decorated>
    local_ptr<T, Decorated> get_multi_ptr() const noexcept {
        return local_ptr<T, Decorated>(pointer_);
    }
    local_ptr<T> get_pointer() const noexcept {
        return local_ptr<T>(pointer_);
    }

private:
#ifdef __SYCL_DEVICE_ONLY__
    T* pointer_;
    std::size_t offset_;
#else
    T* pointer_ = nullptr;
    std::size_t offset_ = 0;
#endif
    range<Dims> extent_;
};

static_assert(sizeof(local_accessor<double, 1>) == 24, "both compilations must agree on kernel arguments");

} // namespace sycl
