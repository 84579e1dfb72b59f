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
    const auto home = variable("HOME");
    for (const std::filesystem::path caches :
         {variable("POCL_CACHE_DIR"), variable("XDG_CACHE_HOME"), home.empty() ? "" : home + "/.cache"}) {
        if (caches.is_absolute()) {
            return caches / "sycl_translations";
        }
    }
    return {};
}

std::uint64_t most_translation_bytes() {
    constexpr std::uint64_t mebibyte = 1U << 20;
    constexpr std::size_t most_digits = 12;
    const std::string value = variable("SYCL_OPENCL_CACHE_MIB");
    if (value.empty()) {
        return 64 * mebibyte;
    }
    if (value.size() > most_digits || value.find_first_not_of("0123456789") != std::string::npos) {
        throw exception(errc::invalid, "SYCL_OPENCL_CACHE_MIB is '" + value +
                                           "'; it takes a number of mebibytes of at most 12 digits");
    }
    return std::stoull(value) * mebibyte;
}

bool reports_unused_translations() {
    return variable("SYCL_OPENCL_CACHE_REPORT") == "1";
}

} // namespace sycl::detail::opencl
