#pragma once

#include <sycl/context.hpp>
#include <sycl/event.hpp>
#include <sycl/exception.hpp>
#include <sycl/handler.hpp>
#include <sycl/property.hpp>

#include <functional>
#include <type_traits>
#include <vector>

namespace sycl {

namespace detail {
class queue_impl;
}

/**
 * Takes commands for one device. Commands run when what they depend on has finished, in any order that this
 * allows; with property::queue::in_order one after the other. Copies are handles to the same queue.
 * Destroying the last one does not wait for its commands. Queues that are made without a context share one for
 * each device, so that memory allocated and kernels built for one of them serve all.
 */
class SYCL_EXPORT queue : public detail::reference_semantics<queue> {
    template <typename Selector>
    using if_selector = std::enable_if_t<std::is_invocable_r_v<int, Selector, const device&>>;

public:
    explicit queue(const property_list& properties = {});
    explicit queue(const async_handler& handler, const property_list& properties = {});
    explicit queue(const device& device, const property_list& properties = {});
    queue(const device& device, const async_handler& handler, const property_list& properties = {});
    queue(const context& context, const device& device, const property_list& properties = {});
    queue(const context& context, const device& device, const async_handler& handler,
          const property_list& properties = {});

    template <typename Selector, typename = if_selector<Selector>>
    explicit queue(const Selector& selector, const property_list& properties = {})
        : queue(sycl::device(selector), properties) {}
    template <typename Selector, typename = if_selector<Selector>>
    queue(const Selector& selector, const async_handler& handler, const property_list& properties = {})
        : queue(sycl::device(selector), handler, properties) {}
    /// The device of the context that the selector rates highest.
    template <typename Selector, typename = if_selector<Selector>>
    queue(const context& context, const Selector& selector, const property_list& properties = {})
        : queue(context, choose(context, selector), properties) {}
    template <typename Selector, typename = if_selector<Selector>>
    queue(const context& context, const Selector& selector, const async_handler& handler,
          const property_list& properties = {})
        : queue(context, choose(context, selector), handler, properties) {}

    explicit queue(std::shared_ptr<detail::queue_impl> impl) : impl_(std::move(impl)) {}

    backend get_backend() const noexcept;
    context get_context() const;
    device get_device() const;
    bool is_in_order() const;
    template <typename Param>
    typename Param::return_type get_info() const;
    template <typename Property>
    bool has_property() const noexcept {
        return std::is_same_v<Property, property::queue::in_order> && is_in_order();
    }

    /// Calls \p group at once and submits the command that it describes.
    template <typename CommandGroup>
    event submit(CommandGroup group) {
        return submit_group(std::function<void(handler&)>(std::ref(group)));
    }

    void wait();
    void wait_and_throw();
    /// Hands the asynchronous errors so far to the queue's handler, or to its context's; without either, ends
    /// the program.
    void throw_asynchronous();

    event memcpy(void* target, const void* source, std::size_t bytes,
                 const std::vector<event>& dependencies = {});
    event memset(void* target, int value, std::size_t bytes, const std::vector<event>& dependencies = {});
    template <typename T>
    event copy(const T* source, T* target, std::size_t count, const std::vector<event>& dependencies = {}) {
        return memcpy(target, source, detail::bytes_of<T>(count), dependencies);
    }
    template <typename T>
    event fill(void* target, const T& pattern, std::size_t count,
               const std::vector<event>& dependencies = {}) {
        return submit([&](handler& group) {
            group.depends_on(dependencies);
            group.fill(target, pattern, count);
        });
    }
    template <typename Name = detail::own_name, typename Kernel>
    event parallel_for(const nd_range<1>& space, const Kernel& kernel) {
        return submit([&](handler& group) { group.template parallel_for<Name>(space, kernel); });
    }
    template <typename Name = detail::own_name, typename Kernel>
    event single_task(const Kernel& kernel) {
        return submit([&](handler& group) { group.template single_task<Name>(kernel); });
    }

private:
    friend class detail::reference_semantics<queue>;
    template <typename Impl, typename Object>
    friend const std::shared_ptr<Impl>& detail::impl_of(const Object&);

    static device choose(const context& context, const detail::device_rating& rating);
    event submit_group(const std::function<void(handler&)>& group);

    std::shared_ptr<detail::queue_impl> impl_;
};

} // namespace sycl

template <>
struct std::hash<sycl::queue> {
    std::size_t operator()(const sycl::queue& object) const { return object.hash(); }
};
