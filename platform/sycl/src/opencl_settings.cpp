#include "opencl_settings.hpp"

#include <sycl/exception.hpp>

#include <cstdlib>
#include <string>

namespace sycl::detail::opencl {

namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

void set_driver_defaults() {
    constexpr int overwrite = 0;
    // The default method of PoCL aborts on groups of one and two work-items. This one makes vectors of work-items.
    setenv("POCL_WORK_GROUP_METHOD", "loopvec", overwrite);
    // One compilation of a kernel for all group sizes; every size would be compiled anew otherwise, for a
    // second.
    setenv("POCL_WORK_GROUP_SPECIALIZATION", "0", overwrite);
}

std::optional<info::device_type> presented_type() {
    const std::string value = variable("SYCL_OPENCL_DEVICE_TYPE");
    if (value.empty()) {
        return std::nullopt;
    }
    if (value == "cpu") {
        return info::device_type::cpu;
    }
    if (value == "gpu") {
        return info::device_type::gpu;
    }
    if (value == "accelerator") {
        return info::device_type::accelerator;
    }
    throw exception(errc::invalid,
                    "SYCL_OPENCL_DEVICE_TYPE is '" + value + "'; it takes cpu, gpu or accelerator");
}

std::filesystem::path translation_folder() {
    if (const auto driver = variable("POCL_CACHE_DIR"); !driver.empty()) {
        return std::filesystem::path(driver) / "sycl_translations";
    }
    if (const auto caches = variable("XDG_CACHE_HOME"); !caches.empty()) {
        return std::filesystem::path(caches) / "sycl_translations";
    }
    const auto home = variable("HOME");
    return home.empty() ? std::filesystem::path() : std::filesystem::path(home) / ".cache/sycl_translations";
}

} // namespace sycl::detail::opencl
