#pragma once

#include <sycl/backend.hpp>
#include <sycl/detail/export.hpp>
#include <sycl/info.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace sycl {

class device;

namespace detail {
class platform_impl;

/// Comparison and hashing of the objects with reference semantics: copies of one object are equal.
template <typename Self>
class reference_semantics {
public:
    friend bool operator==(const Self& a, const Self& b) { return a.identity() == b.identity(); }
    friend bool operator!=(const Self& a, const Self& b) { return a.identity() != b.identity(); }
    std::size_t hash() const { return std::hash<const void*>()(identity()); }

private:
    const void* identity() const { return static_cast<const Self*>(this)->impl_.get(); }
};

template <typename Impl, typename Object>
const std::shared_ptr<Impl>& impl_of(const Object& object) {
    return object.impl_;
}
} // namespace detail

class SYCL_EXPORT platform : public detail::reference_semantics<platform> {
public:
    /// The platform of the default device.
    platform();
    template <typename Selector,
              typename = std::enable_if_t<std::is_invocable_r_v<int, Selector, const device&>>>
    explicit platform(const Selector& selector);
    explicit platform(std::shared_ptr<detail::platform_impl> impl) : impl_(std::move(impl)) {}

    backend get_backend() const noexcept;
    std::vector<device> get_devices(info::device_type type = info::device_type::all) const;
    bool has(aspect which) const;
    template <typename Param>
    typename Param::return_type get_info() const;

    static std::vector<platform> get_platforms();

private:
    friend class detail::reference_semantics<platform>;
    template <typename Impl, typename Object>
    friend const std::shared_ptr<Impl>& detail::impl_of(const Object&);
    std::shared_ptr<detail::platform_impl> impl_;
};

} // namespace sycl

template <>
struct std::hash<sycl::platform> {
    std::size_t operator()(const sycl::platform& object) const { return object.hash(); }
};
