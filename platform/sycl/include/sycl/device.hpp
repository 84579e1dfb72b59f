#pragma once

#include <sycl/exception.hpp>
#include <sycl/platform.hpp>

#include <string>
#include <type_traits>

namespace sycl {

namespace detail {
class device_impl;

using device_rating = std::function<int(const device&)>;
/// The device with the highest non-negative rating; throws errc::runtime if there is none.
SYCL_EXPORT device select_device(const device_rating& rating);
/// As above, among \p candidates.
SYCL_EXPORT device best_device(const std::vector<device>& candidates, const device_rating& rating);
} // namespace detail

/// A device of one of the back ends. Copies are handles to the same device.
class SYCL_EXPORT device : public detail::reference_semantics<device> {
public:
    /// The device that default_selector_v chooses.
    device();
    template <typename Selector,
              typename = std::enable_if_t<std::is_invocable_r_v<int, Selector, const device&>>>
    explicit device(const Selector& selector) : device(detail::select_device(selector)) {}
    explicit device(std::shared_ptr<detail::device_impl> impl) : impl_(std::move(impl)) {}

    backend get_backend() const noexcept;
    platform get_platform() const;
    bool is_cpu() const;
    bool is_gpu() const;
    bool is_accelerator() const;
    bool has(aspect which) const;
    template <typename Param>
    typename Param::return_type get_info() const;

    static std::vector<device> get_devices(info::device_type type = info::device_type::all);

private:
    friend class detail::reference_semantics<device>;
    template <typename Impl, typename Object>
    friend const std::shared_ptr<Impl>& detail::impl_of(const Object&);
    std::shared_ptr<detail::device_impl> impl_;
};

template <typename Selector, typename>
platform::platform(const Selector& selector) : platform(device(selector).get_platform()) {}

/// An OpenCL GPU if there is one, else the CPU device.
SYCL_EXPORT int default_selector_v(const device& candidate);
/// An OpenCL GPU if there is one, else a software GPU.
SYCL_EXPORT int gpu_selector_v(const device& candidate);
SYCL_EXPORT int cpu_selector_v(const device& candidate);
SYCL_EXPORT int accelerator_selector_v(const device& candidate);

/// A selector of devices that have all aspects of \p wanted and none of \p refused.
SYCL_EXPORT std::function<int(const device&)> aspect_selector(const std::vector<aspect>& wanted,
                                                              const std::vector<aspect>& refused = {});

} // namespace sycl

template <>
struct std::hash<sycl::device> {
    std::size_t operator()(const sycl::device& object) const { return object.hash(); }
};
