#include "opencl_translation_cache.hpp"

#include <xxhash.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>

#include <stdlib.h>
#include <unistd.h>

namespace sycl::detail::opencl {

namespace {

/// Changes with every change of the translation.
constexpr char translation_version[] = "1-llvm15";

std::string digest(const void* data, std::size_t n_bytes) {
    const XXH128_hash_t hash = XXH3_128bits(data, n_bytes);
    char text[33];
    std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(hash.high64),
                  static_cast<unsigned long long>(hash.low64));
    return text;
}

constexpr std::size_t digest_length = 32;

/// Takes away what processes that were killed have left of the file; others may still be writing.
void remove_old_unfinished(const std::filesystem::path& folder, const std::string& key) {
    const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(10);
    std::error_code ignored;
    std::filesystem::directory_iterator file(folder, ignored);
    for (; file != std::filesystem::directory_iterator(); file.increment(ignored)) {
        const bool unfinished = file->path().filename().string().starts_with(key + ".");
        if (unfinished && file->last_write_time(ignored) < long_ago) {
            std::filesystem::remove(file->path(), ignored);
        }
    }
}

} // namespace

std::string translation_cache::key_of(const unsigned char* image, std::size_t n_bytes) {
    return digest(image, n_bytes) + "-" + translation_version;
}

std::optional<std::string> translation_cache::find(const std::string& key) const {
    if (folder_.empty()) {
        return std::nullopt;
    }
    std::ifstream file(folder_ / key, std::ios::binary);
    std::string contents(std::istreambuf_iterator<char>(file), {});
    if (contents.size() < digest_length) {
        return std::nullopt;
    }
    std::string bitcode = contents.substr(digest_length);
    const bool whole = contents.compare(0, digest_length, digest(bitcode.data(), bitcode.size())) == 0;
    return whole ? std::optional(std::move(bitcode)) : std::nullopt;
}

void translation_cache::store(const std::string& key, const std::string& bitcode) const {
    std::error_code ignored;
    if (folder_.empty() || (std::filesystem::create_directories(folder_, ignored), ignored)) {
        return;
    }
    remove_old_unfinished(folder_, key);
    std::string unfinished = folder_ / (key + ".XXXXXX");
    const int descriptor = mkstemp(unfinished.data());
    if (descriptor < 0) {
        return;
    }
    close(descriptor);
    std::ofstream file(unfinished, std::ios::binary);
    file << digest(bitcode.data(), bitcode.size()) << bitcode;
    file.close();
    if (file) {
        std::filesystem::rename(unfinished, folder_ / key, ignored);
    }
    if (!file || ignored) {
        std::filesystem::remove(unfinished, ignored);
    }
}

} // namespace sycl::detail::opencl
