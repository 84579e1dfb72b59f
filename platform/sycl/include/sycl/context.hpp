#pragma once

#include <sycl/device.hpp>
#include <sycl/property.hpp>

namespace sycl {

namespace detail {
class context_impl;
}

/// Devices of one platform that share memory objects. Copies are handles to the same context.
class SYCL_EXPORT context : public detail::reference_semantics<context> {
public:
    /// A context of the default device.
    explicit context(const property_list& properties = {});
    explicit context(const async_handler& handler, const property_list& properties = {});
    explicit context(const device& device, const property_list& properties = {});
    context(const device& device, const async_handler& handler, const property_list& properties = {});
    explicit context(const std::vector<device>& devices, const property_list& properties = {});
    context(const std::vector<device>& devices, const async_handler& handler,
            const property_list& properties = {});
    explicit context(std::shared_ptr<detail::context_impl> impl) : impl_(std::move(impl)) {}

    backend get_backend() const noexcept;
    platform get_platform() const;
    std::vector<device> get_devices() const;
    template <typename Param>
    typename Param::return_type get_info() const;

private:
    friend class detail::reference_semantics<context>;
    template <typename Impl, typename Object>
    friend const std::shared_ptr<Impl>& detail::impl_of(const Object&);
    std::shared_ptr<detail::context_impl> impl_;
};

} // namespace sycl

template <>
struct std::hash<sycl::context> {
    std::size_t operator()(const sycl::context& object) const { return object.hash(); }
};
