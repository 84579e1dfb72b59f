#pragma once

#include <sycl/access.hpp>
#include <sycl/detail/export.hpp>
#include <sycl/property.hpp>

#include <memory>
#include <type_traits>

namespace sycl {

class handler;

namespace detail {

class buffer_impl;

/// The host's side of an accessor: which buffer it means, and how it wants to use it.
struct buffer_binding {
    std::shared_ptr<buffer_impl> buffer;
    access_mode mode;
    bool no_init;
    bool placeholder;
};

inline std::shared_ptr<const buffer_binding> bind(const std::shared_ptr<buffer_impl>& buffer,
                                                  access_mode mode, const property_list& properties,
                                                  bool placeholder) {
    return std::make_shared<const buffer_binding>(
        buffer_binding{buffer, mode, properties.has_property<property::no_init>(), placeholder});
}

/// Makes the buffer a requirement of the command and returns the address that is valid for it.
SYCL_EXPORT void* require(handler& group, const buffer_binding& binding);

/**
 * The address of a buffer in the command that the calling thread is copying its kernel or host task into;
 * null outside of that. Throws errc::kernel_argument if the command has no requirement for the buffer.
 */
SYCL_EXPORT void* address_in_command(const buffer_binding* binding);

/// The local memory that the calling thread is binding a kernel object to; null outside of that.
SYCL_EXPORT void* local_memory() noexcept;

template <typename T, typename U>
using same_element = std::enable_if_t<std::is_same_v<std::remove_const_t<T>, std::remove_const_t<U>>>;

template <access_mode Mode, target Target, typename Tag>
using tag_of = std::enable_if_t<std::is_same_v<Tag, mode_tag_t<Mode>> ||
                                std::is_same_v<Tag, mode_target_tag_t<Mode, Target>>>;

} // namespace detail
} // namespace sycl
