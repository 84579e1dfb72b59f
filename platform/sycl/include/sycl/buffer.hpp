#pragma once

#include <sycl/access.hpp>
#include <sycl/detail/export.hpp>
#include <sycl/property.hpp>
#include <sycl/range.hpp>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

namespace sycl {

class handler;
template <typename T>
using buffer_allocator = std::allocator<T>;
template <typename T, int Dims = 1, typename Allocator = buffer_allocator<std::remove_const_t<T>>>
class buffer;
template <typename T, int Dims, access_mode Mode, target Target, access::placeholder Placeholder>
class accessor;
template <typename T, int Dims, access_mode Mode>
class host_accessor;

namespace detail {

class buffer_impl;

using final_copy = std::function<void(const void*)>;

/**
 * What the copies of one buffer object share. When the last one goes, a buffer over host memory brings its
 * contents back and waits for its commands; a buffer from a range alone leaves at once, and its storage goes
 * with the last command that uses it.
 */
class SYCL_EXPORT buffer_handle {
public:
    /// \p host may be null; otherwise it is used as the buffer's own memory on the host.
    buffer_handle(std::size_t bytes, void* host);
    ~buffer_handle();
    buffer_handle(const buffer_handle&) = delete;
    buffer_handle& operator=(const buffer_handle&) = delete;

    const std::shared_ptr<buffer_impl>& impl() const { return impl_; }
    /// The uninitialised host memory of a new buffer, to be filled by the constructor that asks.
    void* initialise();
    /// What is to be done with the final contents; an empty function drops them.
    void set_final(final_copy copy);
    void set_write_back(bool write_back);

private:
    void hand_back();
    void hand_back_without_memory();

    std::shared_ptr<buffer_impl> impl_;
    final_copy final_;
    bool over_host_memory_;
    bool write_back_ = true;
};

} // namespace detail

/**
 * A one-dimensional array that commands reach through accessors. Copies are handles to the same storage. An extent
 * that memory has no room for throws errc::memory_allocation: from the constructor if there are contents, otherwise
 * where the storage is first needed.
 */
template <typename T, int Dims, typename Allocator>
class buffer {
    static_assert(std::is_trivially_copyable_v<T>, "buffers hold device copyable elements");

public:
    using value_type = T;
    using reference = T&;
    using const_reference = const T&;
    using allocator_type = Allocator;

    /// \p extent elements of unspecified value.
    explicit buffer(const range<Dims>& extent, const property_list& = {})
        : extent_(extent), handle_(std::make_shared<detail::buffer_handle>(bytes(), nullptr)) {}

    /// Over host memory, which belongs to the buffer until it is destroyed, and then holds its contents.
    buffer(T* host, const range<Dims>& extent, const property_list& = {})
        : extent_(extent), handle_(std::make_shared<detail::buffer_handle>(bytes(), writable(host))) {}

    /// A copy of host memory, nothing is written back.
    template <typename U = T, typename = std::enable_if_t<!std::is_const_v<U>>>
    buffer(const T* host, const range<Dims>& extent, const property_list& properties = {})
        : buffer(extent, properties) {
        std::copy_n(host, extent.size(), contents());
    }

    /// A copy of the elements of a range of iterators, nothing is written back.
    template <typename Iterator, typename = typename std::iterator_traits<Iterator>::iterator_category>
    buffer(Iterator first, Iterator last, const property_list& properties = {})
        : buffer(range<Dims>(static_cast<std::size_t>(std::distance(first, last))), properties) {
        std::copy(first, last, contents());
    }

    range<Dims> get_range() const { return extent_; }
    std::size_t size() const noexcept { return extent_.size(); }
    std::size_t byte_size() const noexcept { return bytes(); }

    /// Copies the final contents to \p target when the last handle goes; null drops them.
    template <typename Iterator>
    void set_final_data(Iterator target) {
        handle_->set_final(
            [target, n = size()](const void* data) { std::copy_n(static_cast<const T*>(data), n, target); });
    }
    void set_final_data(std::nullptr_t) { handle_->set_final({}); }
    void set_write_back(bool write_back = true) { handle_->set_write_back(write_back); }

    template <access_mode Mode>
    auto get_access(handler& group) {
        return accessor<T, Dims, Mode, target::device, access::placeholder::false_t>(*this, group);
    }
    template <typename... Arguments>
    auto get_host_access(Arguments... arguments) {
        return sycl::host_accessor(*this, arguments...);
    }

    const std::shared_ptr<detail::buffer_impl>& impl() const { return handle_->impl(); }

    friend bool operator==(const buffer& a, const buffer& b) { return a.handle_ == b.handle_; }
    friend bool operator!=(const buffer& a, const buffer& b) { return a.handle_ != b.handle_; }

private:
    std::size_t bytes() const { return detail::bytes_of<T>(extent_.size()); }
    std::remove_const_t<T>* contents() { return static_cast<std::remove_const_t<T>*>(handle_->initialise()); }
    static void* writable(T* host) { return const_cast<std::remove_const_t<T>*>(host); }

    range<Dims> extent_;
    std::shared_ptr<detail::buffer_handle> handle_;
};

template <typename T>
buffer(T*, const range<1>&) -> buffer<T, 1>;
template <typename T>
buffer(const T*, const range<1>&) -> buffer<T, 1>;
template <typename Iterator>
buffer(Iterator, Iterator) -> buffer<typename std::iterator_traits<Iterator>::value_type, 1>;

} // namespace sycl
