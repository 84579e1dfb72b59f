#pragma once

#include <sycl/backend.hpp>
#include <sycl/detail/export.hpp>
#include <sycl/info.hpp>
#include <sycl/platform.hpp>

#include <vector>

namespace sycl {

namespace detail {
class command;
}

/// The completion of a command. A default-constructed event is complete.
class SYCL_EXPORT event : public detail::reference_semantics<event> {
public:
    event() = default;
    explicit event(std::shared_ptr<detail::command> command) : impl_(std::move(command)) {}

    backend get_backend() const noexcept;

    /// Blocks until the command is complete. A failed command counts as complete; its error goes to its
    /// queue.
    void wait();
    static void wait(const std::vector<event>& events);

    /// As wait(), then hands the asynchronous errors of the command's queue to the queue's handler.
    void wait_and_throw();
    static void wait_and_throw(const std::vector<event>& events);

    /// The commands that this one waits for directly, without those that have completed.
    std::vector<event> get_wait_list();

    template <typename Param>
    typename Param::return_type get_info() const;

private:
    friend class detail::reference_semantics<event>;
    template <typename Impl, typename Object>
    friend const std::shared_ptr<Impl>& detail::impl_of(const Object&);
    std::shared_ptr<detail::command> impl_;
};

} // namespace sycl

template <>
struct std::hash<sycl::event> {
    std::size_t operator()(const sycl::event& object) const { return object.hash(); }
};
