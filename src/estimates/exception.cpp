#include <stats/exception.hpp>

namespace aurelo::qtx {

namespace {

std::string compose(const std::string& domain, const std::string& function, const std::string& info) {
    std::string message = "aurelo::qtx";
    if (!domain.empty()) {
        message += "::" + domain;
    }
    if (!function.empty()) {
        message += "::" + function;
    }
    if (!info.empty()) {
        message += ": " + info;
    }
    return message;
}

std::string with_detail(const std::string& kind, const std::string& detail) {
    return detail.empty() ? kind : kind + ": " + detail;
}

} // namespace

exception::exception(const std::string& domain, const std::string& function, const std::string& info)
    : message_(compose(domain, function, info)) {}
exception::~exception() = default;
const char* exception::what() const noexcept {
    return message_.c_str();
}

invalid_argument::invalid_argument(const std::string& domain, const std::string& function,
                                   const std::string& detail)
    : exception(domain, function, with_detail("invalid argument", detail)) {}
invalid_argument::~invalid_argument() = default;

unsupported_device::unsupported_device(const std::string& domain, const std::string& function,
                                       const sycl::device& device)
    : exception(domain, function, "unsupported device: " + device.get_info<sycl::info::device::name>()) {}
unsupported_device::~unsupported_device() = default;

computation_error::computation_error(const std::string& domain, const std::string& function,
                                     const std::string& detail)
    : exception(domain, function, with_detail("computation error", detail)) {}
computation_error::~computation_error() = default;

unimplemented::unimplemented(const std::string& domain, const std::string& function,
                             const std::string& detail)
    : exception(domain, function, with_detail("unimplemented functionality", detail)) {}
unimplemented::~unimplemented() = default;

device_bad_alloc::device_bad_alloc(const std::string& domain, const std::string& function,
                                   const sycl::device& device)
    : exception(domain, function,
                "cannot allocate memory on " + device.get_info<sycl::info::device::name>()) {}
device_bad_alloc::~device_bad_alloc() = default;

} // namespace aurelo::qtx
