#include "basalt_driver.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <thread>

#include <unistd.h>

namespace sycl::detail::basalt {

void check(bs_result_t result, const char* what) {
    if (result == BS_SUCCESS) {
        return;
    }
    const errc code = result == BS_ERROR_OUT_OF_MEMORY      ? errc::memory_allocation
                      : result == BS_ERROR_INVALID_ARGUMENT ? errc::invalid
                      : result == BS_ERROR_INVALID_CONFIG   ? errc::platform
                      : result == BS_ERROR_LIMIT_EXCEEDED   ? errc::nd_range
                                                            : errc::runtime;
    throw exception(code, std::string(what) + ": " + bs_last_error());
}

namespace {

info::device_type type_of(bs_device_type_t native) {
    switch (native) {
    case BS_DEVICE_GPU:
        return info::device_type::gpu;
    case BS_DEVICE_ACCELERATOR:
        return info::device_type::accelerator;
    default:
        return info::device_type::cpu;
    }
}

aspect aspect_of(info::device_type type) {
    switch (type) {
    case info::device_type::gpu:
        return aspect::gpu;
    case info::device_type::accelerator:
        return aspect::accelerator;
    default:
        return aspect::cpu;
    }
}

std::uint64_t memory_of_machine() {
    return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(sysconf(_SC_PAGE_SIZE));
}

device_facts facts_of(const bs_device_desc_t& desc, const platform_facts& platform) {
    const auto type = type_of(desc.type);
    std::vector<aspect> aspects{aspect_of(type), aspect::usm_device_allocations, aspect::usm_host_allocations,
                                aspect::usm_shared_allocations};
    if (desc.fp64 != 0) {
        aspects.push_back(aspect::fp64);
    }
    const std::uint32_t threads =
        desc.n_threads != 0 ? desc.n_threads : std::max(1U, std::thread::hardware_concurrency());
    return {desc.name,
            platform.vendor,
            platform.version,
            platform.version,
            type,
            desc.max_work_group_size,
            threads,
            desc.local_memory_bytes,
            memory_of_machine(),
            std::move(aspects)};
}

bs_platform_handle_t native_platform() {
    bs_platform_handle_t result = nullptr;
    check(bs_platform_get(&result), "no platform of the software GPU");
    return result;
}

/// The executor of the CPU device: it runs kernels, which programs hand to a CPU queue as to any other.
bs_device_handle_t make_cpu_device(bs_platform_handle_t platform) {
    bs_device_desc_t desc;
    bs_device_desc_init(&desc);
    desc.type = BS_DEVICE_CPU;
    std::string("CPU of this machine").copy(desc.name, sizeof desc.name - 1);
    bs_device_handle_t result = nullptr;
    check(bs_device_add_hidden(platform, &desc, &result), "no executor for the CPU device");
    return result;
}

} // namespace

platform::platform(sycl::backend kind, platform_facts facts, bs_platform_handle_t native,
                   bs_device_handle_t only_device)
    : platform_impl(kind, std::move(facts)), native_(native), only_device_(only_device) {}

device_list platform::devices() {
    if (only_device_ != nullptr) {
        return {device_of(only_device_)};
    }
    std::uint32_t count = 0;
    check(bs_device_count(native_, &count), "software GPUs cannot be counted");
    device_list result;
    for (std::uint32_t i = 0; i < count; ++i) {
        bs_device_handle_t native_device = nullptr;
        check(bs_device_get(native_, i, &native_device), "software GPU cannot be had");
        result.push_back(device_of(native_device));
    }
    return result;
}

std::shared_ptr<device_impl> platform::device_of(bs_device_handle_t native_device) {
    const std::lock_guard guard(lock_);
    auto& known = known_[native_device];
    if (known == nullptr) {
        bs_device_desc_t desc;
        if (const auto result = bs_device_get_desc(native_device, &desc); result != BS_SUCCESS) {
            known_.erase(native_device);
            check(result, "not a device of the software GPU's driver");
        }
        known = std::make_shared<device>(shared_from_this(), native_device, desc);
    }
    return known;
}

std::shared_ptr<context_impl> platform::make_context(device_list devices, async_handler handler) {
    std::vector<bs_device_handle_t> natives;
    for (const auto& each : devices) {
        natives.push_back(static_cast<device&>(*each).native());
    }
    bs_context_handle_t made = nullptr;
    check(bs_context_create(native_, static_cast<std::uint32_t>(natives.size()), natives.data(), &made),
          "no context of the software GPU");
    std::unique_ptr<_bs_context_handle_t, decltype(&bs_context_destroy)> guard(made, &bs_context_destroy);
    auto result = std::make_shared<context>(std::move(devices), std::move(handler), made, true);
    static_cast<void>(guard.release());
    return result;
}

device::device(const std::shared_ptr<platform_impl>& platform, bs_device_handle_t native,
               const bs_device_desc_t& desc)
    : device_impl(platform, facts_of(desc, platform->facts())), native_(native) {}

std::vector<std::shared_ptr<platform>> make_platforms() {
    const auto native = native_platform();
    return {std::make_shared<platform>(backend::host, platform_facts{"Host", "qtx", "1"}, native,
                                       make_cpu_device(native)),
            std::make_shared<platform>(backend::ext_aurelo_basalt,
                                       platform_facts{"Basalt software GPU", "qtx", "1"}, native, nullptr)};
}

std::shared_ptr<platform> platform_of(bs_platform_handle_t native) {
    for (const auto& each : all_platforms()) {
        if (each->get_backend() == backend::ext_aurelo_basalt) {
            auto found = std::static_pointer_cast<platform>(each);
            if (found->native() == native) {
                return found;
            }
        }
    }
    throw exception(errc::invalid, "the handle is no platform of the software GPU's driver");
}

} // namespace sycl::detail::basalt
