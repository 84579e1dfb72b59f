#pragma once

#include <sycl/accessor.hpp>
#include <sycl/event.hpp>
#include <sycl/local_accessor.hpp>
#include <sycl/range.hpp>

#ifdef __SYCL_DEVICE_ONLY__
#include <sycl/detail/device_entry.hpp>
#else
#include <sycl/detail/kernel.hpp>
#endif

#include <cstring>
#include <memory>
#include <vector>

namespace sycl {

namespace detail {
class command_group;
class queue_impl;
#ifdef __SYCL_DEVICE_ONLY__
struct own_name;
#endif
} // namespace detail

/**
 * Describes one command: what it needs, what it waits for, what it does. A second action in one command group
 * is refused with errc::invalid.
 */
class SYCL_EXPORT handler {
public:
    template <typename T, int Dims, access_mode Mode, target Target, access::placeholder P>
    void require([[maybe_unused]] const accessor<T, Dims, Mode, Target, P>& needed) {
#ifndef __SYCL_DEVICE_ONLY__
        require_binding(needed.binding().get());
#endif
    }

    void depends_on(const event& dependency);
    void depends_on(const std::vector<event>& dependencies);

    /**
     * Runs \p kernel for every work-item of \p space. Accessors in the kernel object learn their addresses
     * here, so that require() comes before. Throws errc::nd_range if the global size is no multiple of the
     * local size, reaches 2^31, or the local size exceeds the device; errc::kernel_not_supported if the
     * device lacks an aspect of the kernel.
     */
    template <typename Name = detail::own_name, typename Kernel>
    void parallel_for([[maybe_unused]] const nd_range<1>& space, const Kernel& kernel) {
#ifdef __SYCL_DEVICE_ONLY__
        detail::instantiate_entry<Name>(kernel);
#else
        const binding_scope scope(*this);
        launch(space, std::make_unique<detail::typed_kernel_box<Name, Kernel>>(kernel));
#endif
    }

    template <typename Name = detail::own_name, typename Kernel>
    void single_task(const Kernel& kernel) {
        parallel_for<Name>(nd_range<1>(1, 1), kernel);
    }

    /// Runs \p body on a thread of the runtime when the dependencies are met. What it throws goes to the
    /// queue's handler.
    template <typename Body>
    void host_task([[maybe_unused]] Body&& body) {
#ifndef __SYCL_DEVICE_ONLY__
        const binding_scope scope(*this);
        run_on_host(std::make_unique<detail::typed_host_task_box<std::decay_t<Body>>>(body));
#endif
    }

    /// Copies bytes between memory that the device or the host can reach.
    void memcpy(void* target, const void* source, std::size_t bytes);
    void memset(void* target, int value, std::size_t bytes);

    template <typename T>
    void copy(const T* source, T* target, std::size_t count) {
        memcpy(target, source, detail::bytes_of<T>(count));
    }
    template <typename T>
    void fill(void* target, const T& pattern, std::size_t count) {
        static_assert(std::is_trivially_copyable_v<T>);
        fill_bytes(target, &pattern, sizeof pattern, count);
    }

#ifndef __SYCL_DEVICE_ONLY__
    template <typename T, access_mode Mode, target Target, access::placeholder P>
    void fill(const accessor<T, 1, Mode, Target, P>& target, const T& pattern) {
        fill_bytes(address(target), &pattern, sizeof pattern, target.size());
    }
    template <typename S, access_mode Mode, target Target, access::placeholder P, typename T>
    void copy(const accessor<S, 1, Mode, Target, P>& source, T* target) {
        memcpy(target, address(source), source.byte_size());
    }
    template <typename S, typename T, access_mode Mode, target Target, access::placeholder P>
    void copy(const S* source, const accessor<T, 1, Mode, Target, P>& target) {
        memcpy(address(target), source, target.byte_size());
    }
    template <typename S, access_mode M1, target G1, access::placeholder P1, typename T, access_mode M2,
              target G2, access::placeholder P2>
    void copy(const accessor<S, 1, M1, G1, P1>& source, const accessor<T, 1, M2, G2, P2>& target) {
        memcpy(address(target), address(source), source.byte_size());
    }
#endif

private:
    friend class detail::queue_impl;
    friend class detail::command_group;
    friend void* detail::require(handler&, const detail::buffer_binding&);
    friend std::size_t detail::reserve_local(handler&, std::size_t, std::size_t);

    /// While one lives, accessors copied on this thread take the addresses of this command.
    class SYCL_EXPORT binding_scope {
    public:
        explicit binding_scope(handler& owner);
        ~binding_scope();
        binding_scope(const binding_scope&) = delete;
        binding_scope& operator=(const binding_scope&) = delete;

    private:
        detail::command_group* outer_;
    };

    explicit handler(detail::command_group& group) : group_(group) {}
    handler(const handler&) = delete;
    handler& operator=(const handler&) = delete;

    void require_binding(const detail::buffer_binding* binding);
    void fill_bytes(void* target, const void* pattern, std::size_t pattern_bytes, std::size_t count);
#ifndef __SYCL_DEVICE_ONLY__
    void launch(const nd_range<1>& space, std::unique_ptr<detail::kernel_box> kernel);
    void run_on_host(std::unique_ptr<detail::host_task_box> body);

    template <typename Accessor>
    void* address(const Accessor& of) {
        const binding_scope scope(*this);
        return const_cast<void*>(static_cast<const void*>(Accessor(of).begin()));
    }
#endif

    detail::command_group& group_;
};

} // namespace sycl
