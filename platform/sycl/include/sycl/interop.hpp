#pragma once

#include <sycl/queue.hpp>

#include <variant>
#include <vector>

struct _bs_platform_handle_t;
struct _bs_device_handle_t;
struct _bs_context_handle_t;
struct _bs_command_queue_handle_t;
struct _bs_command_list_handle_t;

namespace sycl {

namespace ext::aurelo::basalt {

/// Who destroys a native handle that an object was made from: the object with its last copy, or the caller.
enum class ownership { transfer = 0, keep = 1 };

using queue_handle = std::variant<_bs_command_queue_handle_t*, _bs_command_list_handle_t*>;

struct context_input {
    _bs_context_handle_t* native;
    std::vector<device> devices;
    basalt::ownership ownership = basalt::ownership::transfer;
};

struct queue_input {
    queue_handle native;
    sycl::device device;
    basalt::ownership ownership = basalt::ownership::transfer;
    property_list properties = {};
};

/// The objects of the driver's own handles. Throws errc::invalid for a handle that the driver does not know.
SYCL_EXPORT platform make_platform(_bs_platform_handle_t* native);
SYCL_EXPORT device make_device(const platform& platform, _bs_device_handle_t* native);

} // namespace ext::aurelo::basalt

namespace detail {

template <backend Backend, typename Object>
struct interop_types;

template <typename Input, typename Return>
struct interop_pair {
    using input = Input;
    using result = Return;
};

template <>
struct interop_types<backend::ext_aurelo_basalt, platform>
    : interop_pair<_bs_platform_handle_t*, _bs_platform_handle_t*> {};
template <>
struct interop_types<backend::ext_aurelo_basalt, device>
    : interop_pair<_bs_device_handle_t*, _bs_device_handle_t*> {};
template <>
struct interop_types<backend::ext_aurelo_basalt, context>
    : interop_pair<ext::aurelo::basalt::context_input, _bs_context_handle_t*> {};
template <>
struct interop_types<backend::ext_aurelo_basalt, queue>
    : interop_pair<ext::aurelo::basalt::queue_input, ext::aurelo::basalt::queue_handle> {};

} // namespace detail

template <backend Backend, typename Object>
using backend_input_t = typename detail::interop_types<Backend, Object>::input;
template <backend Backend, typename Object>
using backend_return_t = typename detail::interop_types<Backend, Object>::result;

template <backend Backend>
struct backend_traits {
    template <typename Object>
    using input_type = backend_input_t<Backend, Object>;
    template <typename Object>
    using return_type = backend_return_t<Backend, Object>;
};

/// Objects around native handles. Throws errc::invalid for null handles and for devices of another back end.
template <backend Backend>
context make_context(const backend_input_t<Backend, context>& native, const async_handler& handler = {});
template <backend Backend>
queue make_queue(const backend_input_t<Backend, queue>& native, const context& target,
                 const async_handler& handler = {});

template <>
SYCL_EXPORT context make_context<backend::ext_aurelo_basalt>(const ext::aurelo::basalt::context_input& native,
                                                             const async_handler& handler);
template <>
SYCL_EXPORT queue make_queue<backend::ext_aurelo_basalt>(const ext::aurelo::basalt::queue_input& native,
                                                         const context& target, const async_handler& handler);

/// The native handle behind an object; it stays the object's. Throws errc::backend_mismatch for another back
/// end.
template <backend Backend, typename Object>
backend_return_t<Backend, Object> get_native(const Object& object);

template <>
SYCL_EXPORT _bs_platform_handle_t* get_native<backend::ext_aurelo_basalt>(const platform& object);
template <>
SYCL_EXPORT _bs_device_handle_t* get_native<backend::ext_aurelo_basalt>(const device& object);
template <>
SYCL_EXPORT _bs_context_handle_t* get_native<backend::ext_aurelo_basalt>(const context& object);
template <>
SYCL_EXPORT ext::aurelo::basalt::queue_handle get_native<backend::ext_aurelo_basalt>(const queue& object);

} // namespace sycl

#include <sycl/interop_opencl.hpp>
