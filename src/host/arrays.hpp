/**
 * \file arrays.hpp
 * \brief How host functors hold arrays in the two shapes: placeholder accessors on buffers, or USM pointers.
 */
#pragma once

#include <sycl/sycl.hpp>

#include <type_traits>

namespace aurelo::qtx::stats::detail::cpu {

template <typename T>
using host_task_accessor = sycl::accessor<T, 1, sycl::access::mode::read_write, sycl::target::device>;

template <typename T, bool is_usm>
using array = std::conditional_t<is_usm, T*, host_task_accessor<T>>;

/** \brief The same array as a caller hands it over. */
template <typename T, bool is_usm>
using array_argument = std::conditional_t<is_usm, T*, sycl::buffer<T, 1>&>;

template <typename T>
T* pointer_of(T* array) {
    return array;
}
template <typename T>
T* pointer_of(const host_task_accessor<T>& array) {
    return array.template get_multi_ptr<sycl::access::decorated::no>().get();
}

/** \brief Binds the functor's accessors to a command, in the order given. */
template <typename... Accessors>
void require_all(sycl::handler& handler, const Accessors&... accessors) {
    (handler.require(accessors), ...);
}

/**
 * \brief An output that the caller may leave out. An accessor cannot stand empty, so that the buffer shape
 * binds a spare of one element and keeps a flag; in the USM shape an absent output is a null pointer.
 */
template <typename T, bool is_usm>
class optional_output;

template <typename T>
class optional_output<T, false> {
public:
    optional_output(sycl::buffer<T, 1>& output, sycl::buffer<T, 1>& spare)
        : array_(output.size() != 0 ? output : spare), present_(output.size() != 0) {}

    bool present() const { return present_; }
    /** \brief What the component is given under \p condition: the output or its spare. */
    T* when(bool condition) const { return condition ? pointer_of(array_) : nullptr; }
    const host_task_accessor<T>& accessor() const { return array_; }

private:
    host_task_accessor<T> array_;
    bool present_;
};

template <typename T>
class optional_output<T, true> {
public:
    optional_output(T* output) : array_(output) {}

    bool present() const { return array_ != nullptr; }
    /** \brief A pointer goes to the component as it is. */
    T* when(bool) const { return array_; }

private:
    T* array_;
};

/** \brief \p mask if the output is there. */
template <typename T, bool is_usm>
std::uint64_t if_present(const optional_output<T, is_usm>& output, std::uint64_t mask) {
    return output.present() ? mask : 0;
}

/** \brief Scratch of an order that may not be needed: in the buffer shape the component is given it on a
 * condition. */
template <typename T>
T* scratch_when(bool condition, const host_task_accessor<T>& scratch) {
    return condition ? pointer_of(scratch) : nullptr;
}
template <typename T>
T* scratch_when(bool, T* scratch) {
    return scratch;
}

} // namespace aurelo::qtx::stats::detail::cpu
