#pragma once

#include <sycl/aspects.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sycl {

class platform;
class device;
class context;

namespace info {

enum class device_type : unsigned { cpu, gpu, accelerator, custom, automatic, host, all };

enum class event_command_status : int { submitted, running, complete };

namespace detail {
template <typename Result>
struct descriptor {
    using return_type = Result;
};
} // namespace detail

namespace platform {
struct name : detail::descriptor<std::string> {};
struct vendor : detail::descriptor<std::string> {};
struct version : detail::descriptor<std::string> {};
} // namespace platform

namespace device {
struct name : detail::descriptor<std::string> {};
struct vendor : detail::descriptor<std::string> {};
struct version : detail::descriptor<std::string> {};
struct driver_version : detail::descriptor<std::string> {};
struct device_type : detail::descriptor<info::device_type> {};
struct max_work_group_size : detail::descriptor<std::size_t> {};
struct max_compute_units : detail::descriptor<std::uint32_t> {};
struct local_mem_size : detail::descriptor<std::uint64_t> {};
struct global_mem_size : detail::descriptor<std::uint64_t> {};
struct aspects : detail::descriptor<std::vector<sycl::aspect>> {};
struct platform : detail::descriptor<sycl::platform> {};
} // namespace device

namespace context {
struct platform : detail::descriptor<sycl::platform> {};
struct devices : detail::descriptor<std::vector<sycl::device>> {};
} // namespace context

namespace queue {
struct context : detail::descriptor<sycl::context> {};
struct device : detail::descriptor<sycl::device> {};
} // namespace queue

namespace event {
struct command_execution_status : detail::descriptor<info::event_command_status> {};
} // namespace event

} // namespace info
} // namespace sycl
