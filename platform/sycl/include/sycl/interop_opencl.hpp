#pragma once

#include <sycl/interop.hpp>

#include <vector>

struct _cl_platform_id;
struct _cl_device_id;
struct _cl_context;
struct _cl_command_queue;
struct _cl_event;

namespace sycl {

namespace detail {

template <typename Handle>
using same_handle = interop_pair<Handle, Handle>;

template <>
struct interop_types<backend::opencl, platform> : same_handle<_cl_platform_id*> {};
template <>
struct interop_types<backend::opencl, device> : same_handle<_cl_device_id*> {};
template <>
struct interop_types<backend::opencl, context> : same_handle<_cl_context*> {};
template <>
struct interop_types<backend::opencl, queue> : same_handle<_cl_command_queue*> {};
template <>
struct interop_types<backend::opencl, event> : same_handle<std::vector<_cl_event*>> {};

} // namespace detail

/**
 * Objects around OpenCL's. The new object retains the native one; a queue takes the order of its commands
 * from it. Throws errc::invalid for null handles and for devices that no platform of this runtime has.
 */
template <>
SYCL_EXPORT context make_context<backend::opencl>(_cl_context* const& native, const async_handler& handler);
template <>
SYCL_EXPORT queue make_queue<backend::opencl>(_cl_command_queue* const& native, const context& target,
                                              const async_handler& handler);

/// The OpenCL handle behind an object; it stays the object's.
template <>
SYCL_EXPORT _cl_platform_id* get_native<backend::opencl>(const platform& object);
template <>
SYCL_EXPORT _cl_device_id* get_native<backend::opencl>(const device& object);
template <>
SYCL_EXPORT _cl_context* get_native<backend::opencl>(const context& object);
template <>
SYCL_EXPORT _cl_command_queue* get_native<backend::opencl>(const queue& object);
/// One event, which exists as soon as the command has been submitted; empty for an event without a command.
template <>
SYCL_EXPORT std::vector<_cl_event*> get_native<backend::opencl>(const event& object);

} // namespace sycl
