#pragma once

#include <sycl/multi_ptr.hpp>
#include <sycl/range.hpp>

#ifdef __SYCL_DEVICE_ONLY__
#include <sycl/detail/device_item.hpp>
#else
#include <sycl/detail/work_item.hpp>
#endif

#include <cstdint>
#include <type_traits>

namespace sycl {

/// An asynchronous copy by a work-group. All work-items of the group wait for it.
class device_event {
public:
    device_event(detail::item_state state, std::uint64_t copy) : state_(state), copy_(copy) {}
    void wait() { state_.wait_copy(copy_); }

private:
    detail::item_state state_;
    std::uint64_t copy_;
};

/// The work-group of a work-item. Its operations are collective: all work-items reach them, in the same
/// order.
template <int Dims = 1>
class group {
public:
    using id_type = id<Dims>;
    using range_type = range<Dims>;
    using linear_id_type = std::size_t;
    static constexpr int dimensions = Dims;
    static constexpr memory_scope fence_scope = memory_scope::work_group;

    explicit group(detail::item_state state) : state_(state) {}

    id<Dims> get_group_id() const { return state_.group_id(); }
    std::size_t get_group_id(int) const { return state_.group_id(); }
    id<Dims> get_local_id() const { return state_.local_id(); }
    std::size_t get_local_id(int) const { return state_.local_id(); }
    range<Dims> get_local_range() const { return state_.local_size(); }
    std::size_t get_local_range(int) const { return state_.local_size(); }
    range<Dims> get_group_range() const { return state_.n_groups(); }
    std::size_t get_group_range(int) const { return state_.n_groups(); }
    std::size_t get_group_linear_id() const { return state_.group_id(); }
    std::size_t get_group_linear_range() const { return state_.n_groups(); }
    std::size_t get_local_linear_id() const { return state_.local_id(); }
    std::size_t get_local_linear_range() const { return state_.local_size(); }
    bool leader() const { return state_.local_id() == 0; }

    /// Begins a copy of \p count consecutive elements into local memory; complete after wait().
    template <typename T, typename Source, access::decorated D, access::decorated S>
    device_event async_work_group_copy(local_ptr<T, D> target, global_ptr<Source, S> source,
                                       std::size_t count) const {
        return async_work_group_copy(target, source, count, 1);
    }
    /// As above, from elements that lie \p stride apart.
    template <typename T, typename Source, access::decorated D, access::decorated S>
    device_event async_work_group_copy(local_ptr<T, D> target, global_ptr<Source, S> source,
                                       std::size_t count, std::size_t stride) const {
        return copy<T, Source>(target.get_raw(), source.get_raw(), count, 1, stride);
    }
    /// Begins a copy of \p count consecutive elements from local to global memory.
    template <typename T, typename Source, access::decorated D, access::decorated S>
    device_event async_work_group_copy(global_ptr<T, D> target, local_ptr<Source, S> source,
                                       std::size_t count) const {
        return async_work_group_copy(target, source, count, 1);
    }
    /// As above, to elements that lie \p stride apart.
    template <typename T, typename Source, access::decorated D, access::decorated S>
    device_event async_work_group_copy(global_ptr<T, D> target, local_ptr<Source, S> source,
                                       std::size_t count, std::size_t stride) const {
        return copy<T, Source>(target.get_raw(), source.get_raw(), count, stride, 1);
    }

    template <typename... Events>
    void wait_for(Events... events) const {
        (events.wait(), ...);
    }

    const detail::item_state& state() const { return state_; }

private:
    template <typename T, typename Source>
    device_event copy(T* target, Source* source, std::size_t count, std::size_t target_stride,
                      std::size_t source_stride) const {
        static_assert(std::is_same_v<std::remove_const_t<Source>, T>,
                      "a copy keeps the type of its elements");
        return device_event(state_,
                            state_.template copy<T>(target, source, count, target_stride, source_stride));
    }

    detail::item_state state_;
};

/// A work-item of a launch over an nd_range.
template <int Dims = 1>
class nd_item {
public:
    static constexpr int dimensions = Dims;

    explicit nd_item(detail::item_state state) : state_(state) {}

    id<Dims> get_global_id() const { return get_global_id(0); }
    std::size_t get_global_id(int) const {
        return state_.group_id() * state_.local_size() + state_.local_id();
    }
    std::size_t get_global_linear_id() const { return get_global_id(0); }
    id<Dims> get_local_id() const { return state_.local_id(); }
    std::size_t get_local_id(int) const { return state_.local_id(); }
    std::size_t get_local_linear_id() const { return state_.local_id(); }
    sycl::group<Dims> get_group() const { return sycl::group<Dims>(state_); }
    std::size_t get_group(int) const { return state_.group_id(); }
    std::size_t get_group_linear_id() const { return state_.group_id(); }
    range<Dims> get_group_range() const { return state_.n_groups(); }
    std::size_t get_group_range(int) const { return state_.n_groups(); }
    range<Dims> get_local_range() const { return state_.local_size(); }
    std::size_t get_local_range(int) const { return state_.local_size(); }
    range<Dims> get_global_range() const { return state_.local_size() * state_.n_groups(); }
    std::size_t get_global_range(int) const { return state_.local_size() * state_.n_groups(); }
    nd_range<Dims> get_nd_range() const { return nd_range<Dims>(get_global_range(), get_local_range()); }

    /// All work-items of the group meet, and see each other's stores to the memory of \p space.
    void barrier(access::fence_space space = access::fence_space::global_and_local) const {
        state_.barrier(space);
    }

    template <typename... Arguments>
    device_event async_work_group_copy(Arguments... arguments) const {
        return get_group().async_work_group_copy(arguments...);
    }
    template <typename... Events>
    void wait_for(Events... events) const {
        get_group().wait_for(events...);
    }

private:
    detail::item_state state_;
};

} // namespace sycl
