#pragma once

#include <sycl/access.hpp>
#include <sycl/detail/binding.hpp>
#ifdef __SYCL_DEVICE_ONLY__
#include <sycl/detail/device_item.hpp>
#endif
#include <sycl/multi_ptr.hpp>
#include <sycl/range.hpp>

#include <cstddef>
#include <type_traits>

namespace sycl {

class handler;

namespace detail {
/// Reserves local memory for the command and returns its offset from the group's base.
SYCL_EXPORT std::size_t reserve_local(handler& group, std::size_t bytes, std::size_t alignment);
} // namespace detail

/**
 * An array in the local memory of each work-group. In a host-compiled kernel a copy made for a worker thread
 * learns the thread's memory; a kernel of a device image computes the address from the offset, so that its
 * argument, which a driver may share between work-groups, is never written.
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

    local_accessor() = default;
    local_accessor(range<Dims> extent, handler& group, const property_list& = {})
        : offset_(detail::reserve_local(group, detail::bytes_of<T>(extent.size()), alignof(T))),
          extent_(extent) {}
#ifndef __SYCL_DEVICE_ONLY__
    local_accessor(const local_accessor& other)
        : pointer_(other.pointer_), offset_(other.offset_), extent_(other.extent_) {
        if (void* base = detail::local_memory()) {
            pointer_ = reinterpret_cast<T*>(static_cast<std::byte*>(base) + offset_);
        }
    }
    local_accessor& operator=(const local_accessor&) = default;
    ~local_accessor() = default;
#endif

    T& operator[](std::size_t index) const {
        return data()[index];
    }
    std::size_t size() const noexcept {
        return extent_.size();
    }
    std::size_t byte_size() const noexcept {
        return detail::bytes_of<T>(size());
    }
    bool empty() const noexcept {
        return size() == 0;
    }
    range<Dims> get_range() const {
        return extent_;
    }
    iterator begin() const noexcept {
        return data();
    }
    iterator end() const noexcept {
        return data() + size();
    }

    template <access::decorated Decorated>
    local_ptr<T, Decorated> get_multi_ptr() const noexcept {
        return local_ptr<T, Decorated>(data());
    }
    local_ptr<T> get_pointer() const noexcept {
        return local_ptr<T>(data());
    }

private:
    T* data() const {
#ifdef __SYCL_DEVICE_ONLY__
        return reinterpret_cast<T*>(detail::builtin::local_arrays() + offset_);
#else
        return pointer_;
#endif
    }

    T* pointer_ = nullptr;
    std::size_t offset_ = 0;
    range<Dims> extent_;
};

static_assert(sizeof(local_accessor<double, 1>) == 24, "both compilations must agree on kernel arguments");

} // namespace sycl
