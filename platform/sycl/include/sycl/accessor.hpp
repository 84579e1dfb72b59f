#pragma once

#include <sycl/buffer.hpp>
#include <sycl/detail/binding.hpp>
#include <sycl/multi_ptr.hpp>

namespace sycl {

namespace detail {

#ifdef __SYCL_DEVICE_ONLY__
/// The place of the host's handle: a kernel neither reads nor owns it.
class accessor_host {
public:
    accessor_host() = default;
    accessor_host(std::shared_ptr<const buffer_binding>) {}
    const buffer_binding& operator*() const { return *get(); }
    const buffer_binding* get() const { return nullptr; }

private:
    [[maybe_unused]] void* opaque_[2];
};
#else
using accessor_host = std::shared_ptr<const buffer_binding>;
#endif

template <access_mode Mode, typename T>
using accessed = std::conditional_t<Mode == access_mode::read, const T, T>;

} // namespace detail

/**
 * Access to a buffer from a command. A kernel sees the pointer and three ranges; the host's handle behind
 * them tells the runtime which buffer is meant. Copying an accessor into a command gives the copy the address
 * that is valid there.
 */
template <typename T, int Dims = 1,
          access_mode Mode = (std::is_const_v<T> ? access_mode::read : access_mode::read_write),
          target Target = target::device, access::placeholder Placeholder = access::placeholder::false_t>
class accessor {
    static_assert(Dims == 1, "this runtime supports one-dimensional accessors");

public:
    using value_type = detail::accessed<Mode, T>;
    using reference = value_type&;
    using const_reference = const T&;
    using iterator = value_type*;
    using const_iterator = const T*;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    static constexpr int dimensions = Dims;

    accessor() = default;

    /// A placeholder: handler::require() makes it part of a command.
    template <typename U, typename A, typename = detail::same_element<T, U>>
    accessor(buffer<U, Dims, A>& of, const property_list& properties = {})
        : accessor(of.get_range(), detail::bind(of.impl(), Mode, properties, true)) {}

    template <typename U, typename A, typename Tag, typename = detail::same_element<T, U>,
              typename = detail::tag_of<Mode, Target, Tag>>
    accessor(buffer<U, Dims, A>& of, Tag, const property_list& properties = {}) : accessor(of, properties) {}

    /// Access of the command that \p group makes.
    template <typename U, typename A, typename = detail::same_element<T, U>>
    accessor(buffer<U, Dims, A>& of, handler& group, const property_list& properties = {})
        : accessor(of.get_range(), detail::bind(of.impl(), Mode, properties, false)) {
        bind(detail::require(group, *host_));
    }

    template <typename U, typename A, typename Tag, typename = detail::same_element<T, U>,
              typename = detail::tag_of<Mode, Target, Tag>>
    accessor(buffer<U, Dims, A>& of, handler& group, Tag, const property_list& properties = {})
        : accessor(of, group, properties) {}

#ifndef __SYCL_DEVICE_ONLY__
    accessor(const accessor& other)
        : pointer_(other.pointer_), access_range_(other.access_range_), memory_range_(other.memory_range_),
          offset_(other.offset_), host_(other.host_) {
        bind(detail::address_in_command(host_.get()));
    }
    accessor(accessor&&) noexcept = default;
    accessor& operator=(const accessor& other) {
        return *this = accessor(other);
    }
    accessor& operator=(accessor&&) noexcept = default;
    ~accessor() = default;

    bool is_placeholder() const noexcept {
        return host_ && host_->placeholder;
    }
    const std::shared_ptr<const detail::buffer_binding>& binding() const {
        return host_;
    }

    friend bool operator==(const accessor& a, const accessor& b) {
        return a.host_ == b.host_;
    }
    friend bool operator!=(const accessor& a, const accessor& b) {
        return a.host_ != b.host_;
    }
#endif

    reference operator[](std::size_t index) const {
        return pointer_[index];
    }
    std::size_t size() const noexcept {
        return access_range_.size();
    }
    std::size_t byte_size() const noexcept {
        return detail::bytes_of<T>(size());
    }
    std::size_t max_size() const noexcept {
        return size();
    }
    bool empty() const noexcept {
        return size() == 0;
    }
    range<Dims> get_range() const {
        return access_range_;
    }
    id<Dims> get_offset() const {
        return offset_;
    }
    iterator begin() const noexcept {
        return pointer_;
    }
    iterator end() const noexcept {
        return pointer_ + size();
    }

    template <access::decorated Decorated>
    global_ptr<value_type, Decorated> get_multi_ptr() const noexcept {
        return global_ptr<value_type, Decorated>(pointer_);
    }
    global_ptr<value_type> get_pointer() const noexcept {
        return global_ptr<value_type>(pointer_);
    }

private:
    accessor(range<Dims> extent, std::shared_ptr<const detail::buffer_binding> host)
        : access_range_(extent), memory_range_(extent), host_(std::move(host)) {}
    void bind(void* address) {
        if (address != nullptr) {
            pointer_ = static_cast<value_type*>(address);
        }
    }
    friend struct accessor_layout;

    value_type* pointer_ = nullptr;
    range<Dims> access_range_;
    range<Dims> memory_range_;
    id<Dims> offset_;
    detail::accessor_host host_;
};

/// Both compilations of a program must agree on what a kernel argument looks like.
struct accessor_layout {
    using sample = accessor<float, 1, access_mode::read_write, target::device, access::placeholder::false_t>;
    static_assert(sizeof(sample) == 48 && offsetof(sample, pointer_) == 0 &&
                  offsetof(sample, access_range_) == 8);
    static_assert(offsetof(sample, memory_range_) == 16 && offsetof(sample, offset_) == 24);
    static_assert(offsetof(sample, host_) == 32);
#ifdef __SYCL_DEVICE_ONLY__
    static_assert(std::is_trivially_copyable_v<sample>);
#endif
};

template <typename T, typename A>
accessor(buffer<T, 1, A>&) -> accessor<T, 1, access_mode::read_write, target::device>;
template <typename T, typename A>
accessor(buffer<T, 1, A>&, property_list) -> accessor<T, 1, access_mode::read_write, target::device>;
template <typename T, typename A>
accessor(buffer<T, 1, A>&, handler&) -> accessor<T, 1, access_mode::read_write, target::device>;
template <typename T, typename A>
accessor(buffer<T, 1, A>&, handler&, property_list)
    -> accessor<T, 1, access_mode::read_write, target::device>;

template <typename T, typename A, access_mode M>
accessor(buffer<T, 1, A>&, mode_tag_t<M>) -> accessor<detail::accessed<M, T>, 1, M, target::device>;
template <typename T, typename A, access_mode M>
accessor(buffer<T, 1, A>&, mode_tag_t<M>, property_list)
    -> accessor<detail::accessed<M, T>, 1, M, target::device>;
template <typename T, typename A, access_mode M>
accessor(buffer<T, 1, A>&, handler&, mode_tag_t<M>) -> accessor<detail::accessed<M, T>, 1, M, target::device>;
template <typename T, typename A, access_mode M>
accessor(buffer<T, 1, A>&, handler&, mode_tag_t<M>, property_list)
    -> accessor<detail::accessed<M, T>, 1, M, target::device>;
template <typename T, typename A, access_mode M, target G>
accessor(buffer<T, 1, A>&, handler&, mode_target_tag_t<M, G>) -> accessor<detail::accessed<M, T>, 1, M, G>;
template <typename T, typename A, access_mode M, target G>
accessor(buffer<T, 1, A>&, handler&, mode_target_tag_t<M, G>, property_list)
    -> accessor<detail::accessed<M, T>, 1, M, G>;

} // namespace sycl
