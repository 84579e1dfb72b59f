#pragma once

#include <type_traits>

namespace sycl {

namespace property {

struct no_init {};

namespace queue {
struct in_order {};
} // namespace queue

namespace buffer {
/// The runtime uses the host memory given to the constructor itself; it does so in any case.
struct use_host_ptr {};
} // namespace buffer

} // namespace property

inline constexpr property::no_init no_init{};

template <typename Property>
struct is_property : std::false_type {};
template <>
struct is_property<property::no_init> : std::true_type {};
template <>
struct is_property<property::queue::in_order> : std::true_type {};
template <>
struct is_property<property::buffer::use_host_ptr> : std::true_type {};
template <typename Property>
inline constexpr bool is_property_v = is_property<Property>::value;

/// The properties of an object, given at its construction. A type that is no property does not compile.
class property_list {
public:
    template <typename... Properties, typename = std::enable_if_t<(is_property_v<Properties> && ...)>>
    property_list(Properties...)
        : no_init_((std::is_same_v<Properties, property::no_init> || ...)),
          in_order_((std::is_same_v<Properties, property::queue::in_order> || ...)),
          use_host_ptr_((std::is_same_v<Properties, property::buffer::use_host_ptr> || ...)) {}

    template <typename Property>
    bool has_property() const noexcept {
        static_assert(is_property_v<Property>);
        if constexpr (std::is_same_v<Property, property::no_init>) {
            return no_init_;
        } else if constexpr (std::is_same_v<Property, property::queue::in_order>) {
            return in_order_;
        } else {
            return use_host_ptr_;
        }
    }

private:
    bool no_init_;
    bool in_order_;
    bool use_host_ptr_;
};

} // namespace sycl
