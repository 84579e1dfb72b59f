#include "device_desc.hpp"

#include "error.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <thread>
#include <type_traits>

namespace basalt {

namespace {

const char* type_name(bs_device_type_t type) {
    switch (type) {
    case BS_DEVICE_GPU:
        return "GPU";
    case BS_DEVICE_ACCELERATOR:
        return "accelerator";
    case BS_DEVICE_CPU:
        return "CPU";
    }
    return nullptr;
}

void set_name(bs_device_desc_t& desc, std::string_view name) {
    const std::size_t length = std::min(name.size(), sizeof(desc.name) - 1);
    std::memcpy(desc.name, name.data(), length);
    desc.name[length] = '\0';
}

std::string made_up_name(const bs_device_desc_t& desc) {
    return std::string("Basalt software ") + type_name(desc.type) + " (work-group " +
           std::to_string(desc.max_work_group_size) + ", local memory " +
           std::to_string(desc.local_memory_bytes) + (desc.fp64 != 0 ? ", fp64)" : ", no fp64)");
}

[[noreturn]] void refuse(std::string_view word, const std::string& why) {
    throw error(BS_ERROR_INVALID_CONFIG, "BASALT_DEVICES: '" + std::string(word) + "' " + why);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::uint64_t parse_number(std::string_view word, std::string_view value, std::uint64_t least,
                           std::uint64_t most) {
    std::uint64_t number = 0;
    const char* const end = value.data() + value.size();
    const auto [stop, code] = std::from_chars(value.data(), end, number);
    if (code != std::errc() || stop != end || number < least || number > most) {
        refuse(word, "needs a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

bs_device_type_t parse_type(std::string_view word) {
    if (word == "gpu") {
        return BS_DEVICE_GPU;
    }
    if (word == "accelerator") {
        return BS_DEVICE_ACCELERATOR;
    }
    if (word == "cpu") {
        return BS_DEVICE_CPU;
    }
    refuse(word, "is no device type; there are gpu, accelerator and cpu");
}

constexpr std::uint64_t max_local_memory = std::uint64_t{1} << 30;
constexpr std::uint64_t max_delay = std::numeric_limits<std::uint32_t>::max();

void parse_property(bs_device_desc_t& desc, std::string_view word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string_view::npos) {
        refuse(word, "is no property of the form key=value");
    }
    const std::string_view key = word.substr(0, equals);
    const std::string_view value = word.substr(equals + 1);
    if (key == "wg") {
        desc.max_work_group_size = parse_number(word, value, 1, documented_work_group_size);
    } else if (key == "local") {
        desc.local_memory_bytes = parse_number(word, value, 0, max_local_memory);
    } else if (key == "fp64") {
        desc.fp64 = static_cast<std::uint8_t>(parse_number(word, value, 0, 1));
    } else if (key == "threads") {
        desc.n_threads = static_cast<std::uint32_t>(parse_number(word, value, 1, max_threads));
    } else if (key == "delay") {
        desc.launch_delay_us = static_cast<std::uint32_t>(parse_number(word, value, 0, max_delay));
    } else if (key == "name") {
        if (value.empty() || value.size() >= sizeof(desc.name)) {
            refuse(word, "needs a name of 1 to " + std::to_string(sizeof(desc.name) - 1) + " characters");
        }
        set_name(desc, value);
    } else {
        refuse(word, "has an unknown key; there are wg, local, fp64, threads, delay and name");
    }
}

bs_device_desc_t parse_device(std::string_view entry) {
    bs_device_desc_t desc = default_desc();
    const std::size_t colon = entry.find(':');
    desc.type = parse_type(entry.substr(0, colon));
    if (colon != std::string_view::npos) {
        for (const std::string_view property : split(entry.substr(colon + 1), ',')) {
            parse_property(desc, property);
        }
    }
    return desc;
}

void check_range(const char* name, std::uint64_t value, std::uint64_t least, std::uint64_t most) {
    if (value < least || value > most) {
        throw_invalid(std::string(name) + " is " + std::to_string(value) + ", it must be from " +
                      std::to_string(least) + " to " + std::to_string(most));
    }
}

} // namespace

bs_device_desc_t default_desc() {
    bs_device_desc_t desc{};
    desc.type = BS_DEVICE_GPU;
    desc.max_work_group_size = std::min<std::size_t>(1024, max_work_group_size);
    desc.local_memory_bytes = 65536;
    desc.fp64 = 1;
    return desc;
}

bs_device_desc_t completed(bs_device_desc_t desc) {
    std::underlying_type_t<bs_device_type_t> type; // callers in C can put anything there
    std::memcpy(&type, &desc.type, sizeof(type));
    check_range("device type", type, BS_DEVICE_GPU, BS_DEVICE_CPU);
    check_range("max_work_group_size", desc.max_work_group_size, 1, documented_work_group_size);
    check_range("local_memory_bytes", desc.local_memory_bytes, 0, max_local_memory);
    check_range("n_threads", desc.n_threads, 0, max_threads);
    check_range("fp64", desc.fp64, 0, 1);
    if (std::memchr(desc.name, '\0', sizeof(desc.name)) == nullptr) {
        throw_invalid("the device's name has no terminating zero");
    }
    desc.max_work_group_size = std::min(desc.max_work_group_size, max_work_group_size);
    if (desc.n_threads == 0) {
        desc.n_threads = std::clamp(std::thread::hardware_concurrency(), 1u, max_threads);
    }
    if (desc.name[0] == '\0') {
        set_name(desc, made_up_name(desc));
    }
    return desc;
}

std::vector<bs_device_desc_t> parse_devices(std::string_view text) {
    std::vector<bs_device_desc_t> devices;
    for (const std::string_view entry : split(text, ';')) {
        devices.push_back(parse_device(entry));
    }
    return devices;
}

} // namespace basalt
