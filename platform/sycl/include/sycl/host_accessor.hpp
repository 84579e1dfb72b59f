#pragma once

#include <sycl/buffer.hpp>
#include <sycl/detail/export.hpp>

#include <memory>

namespace sycl {

namespace detail {

/// Holds a buffer for the host: made when its commands have finished, released when the last copy goes.
class SYCL_EXPORT host_hold {
public:
    host_hold(const std::shared_ptr<buffer_impl>& buffer, access_mode mode, bool no_init);
    ~host_hold();
    host_hold(const host_hold&) = delete;
    host_hold& operator=(const host_hold&) = delete;
    void* data() const { return data_; }

private:
    std::shared_ptr<class command> command_;
    void* data_;
};

} // namespace detail

/**
 * Access to a buffer from the host. The constructor blocks until the commands that matter have finished;
 * commands submitted later wait until the last copy of the accessor is destroyed.
 */
template <typename T, int Dims = 1,
          access_mode Mode = (std::is_const_v<T> ? access_mode::read : access_mode::read_write)>
class host_accessor {
public:
    using value_type = std::conditional_t<Mode == access_mode::read, const T, T>;
    using reference = value_type&;
    using iterator = value_type*;
    using size_type = std::size_t;

    template <typename U, typename A, typename = std::enable_if_t<std::is_same_v<std::remove_const_t<T>, U>>>
    host_accessor(buffer<U, Dims, A>& of, const property_list& properties = {})
        : extent_(of.get_range()), hold_(std::make_shared<detail::host_hold>(
                                       of.impl(), Mode, properties.has_property<property::no_init>())) {}
    template <typename U, typename A, typename = std::enable_if_t<std::is_same_v<std::remove_const_t<T>, U>>>
    host_accessor(buffer<U, Dims, A>& of, mode_tag_t<Mode>, const property_list& properties = {})
        : host_accessor(of, properties) {}

    reference operator[](std::size_t index) const { return data()[index]; }
    std::size_t size() const noexcept { return extent_.size(); }
    std::size_t byte_size() const noexcept { return detail::bytes_of<T>(size()); }
    bool empty() const noexcept { return size() == 0; }
    range<Dims> get_range() const { return extent_; }
    value_type* get_pointer() const noexcept { return data(); }
    iterator begin() const noexcept { return data(); }
    iterator end() const noexcept { return data() + size(); }

private:
    value_type* data() const { return static_cast<value_type*>(hold_->data()); }

    range<Dims> extent_;
    std::shared_ptr<detail::host_hold> hold_;
};

template <typename T, typename A>
host_accessor(buffer<T, 1, A>&) -> host_accessor<T, 1, access_mode::read_write>;
template <typename T, typename A>
host_accessor(buffer<T, 1, A>&, property_list) -> host_accessor<T, 1, access_mode::read_write>;
template <typename T, typename A, access_mode M>
host_accessor(buffer<T, 1, A>&, mode_tag_t<M>)
    -> host_accessor<std::conditional_t<M == access_mode::read, const T, T>, 1, M>;
template <typename T, typename A, access_mode M>
host_accessor(buffer<T, 1, A>&, mode_tag_t<M>, property_list)
    -> host_accessor<std::conditional_t<M == access_mode::read, const T, T>, 1, M>;

} // namespace sycl
