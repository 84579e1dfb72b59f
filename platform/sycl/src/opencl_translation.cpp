#include "opencl_translation.hpp"

#include "opencl_settings.hpp"
#include "opencl_translation_cache.hpp"

#include "../translator/translator.h"

#include <sycl/exception.hpp>

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

namespace sycl::detail::opencl {

namespace {

const char* const plug_in_name = "libsycl_translator.so";

/// The plug-in stands beside this library, wherever that has been put.
std::string plug_in_path() {
    Dl_info own{};
    if (dladdr(reinterpret_cast<void*>(&__sycl_register_lib), &own) != 0 && own.dli_fname != nullptr) {
        const auto path = std::filesystem::path(own.dli_fname).parent_path() / plug_in_name;
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored)) {
            return path;
        }
    }
    return plug_in_name;
}

using translate_function = decltype(&sycl_translate_image);

translate_function open_translator() {
    // Never closed: what it loads is shared with the driver.
    void* const plug_in = dlopen(plug_in_path().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = plug_in == nullptr ? nullptr : dlsym(plug_in, "sycl_translate_image");
    if (function == nullptr) {
        throw exception(errc::kernel_not_supported,
                        std::string("the device takes no SPIR-V, and there is no translator: ") + dlerror());
    }
    return reinterpret_cast<translate_function>(function);
}

struct outcome {
    std::string bitcode;
    std::string error;
};

/// As it is kept: the number, and the bitcode.
std::string packed(std::uint64_t bytes_per_item, const std::string& bitcode) {
    std::string result(sizeof bytes_per_item, '\0');
    std::memcpy(result.data(), &bytes_per_item, sizeof bytes_per_item);
    return result += bitcode;
}

translation unpacked(const std::string& kept) {
    translation result{0, {}};
    if (kept.size() >= sizeof result.bytes_per_item) {
        std::memcpy(&result.bytes_per_item, kept.data(), sizeof result.bytes_per_item);
        result.bitcode = kept.substr(sizeof result.bytes_per_item);
    }
    return result;
}

std::string translate_now(const kernel_image& image) {
    static const translate_function translator = open_translator();
    outcome result;
    const auto keep = [](void* user, const char* bytes, std::size_t n_bytes) {
        static_cast<outcome*>(user)->bitcode.assign(bytes, n_bytes);
    };
    const auto complain = [](void* user, const char* bytes, std::size_t n_bytes) {
        static_cast<outcome*>(user)->error.assign(bytes, n_bytes);
    };
    std::size_t bytes_per_item = 0;
    if (translator(image.first, image.bytes(), keep, complain, &result, &bytes_per_item) != 0) {
        throw exception(errc::build, "image of kernel " + image.entry + ": " + result.error);
    }
    return packed(bytes_per_item, result.bitcode);
}

void report_unused(const std::string& what) {
    if (reports_unused_translations()) {
        std::fprintf(stderr, "sycl: not used as a kept translation: %s\n", what.c_str());
    }
}

} // namespace

translation translate(const kernel_image& image) {
    const auto limit = most_translation_bytes();
    translation_cache cache(limit == 0 ? "" : translation_folder(), limit, report_unused);
    const auto key = translation_cache::key_of(image.first, image.bytes());
    if (auto known = cache.find(key)) {
        return unpacked(*known);
    }
    std::string result = translate_now(image);
    cache.store(key, result);
    return unpacked(result);
}

} // namespace sycl::detail::opencl
