#include "opencl_translation_cache.hpp"

#include <xxhash.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <vector>

namespace sycl::detail::opencl {

namespace {

/// Changes with every change of the translation.
constexpr char translation_version[] = "2-llvm15";

/// Its length tells how much has been stored since the folder was last looked through: a byte for each block.
constexpr char counter[] = "stored_blocks";
constexpr std::uint64_t block_bytes = 4096;

/// Shares of the limit: what may be stored before the folder is looked through again, which is also the most that
/// one entry may have, and what is free afterwards. Two of the first and the counter fit into the second, so the
/// limit holds without a look for every entry.
constexpr std::uint64_t unseen_share = 16;
constexpr std::uint64_t freed_share = 7;

constexpr std::size_t digest_length = 32;
constexpr std::time_t seconds_to_finish = 600;

std::string digest(const void* data, std::size_t n_bytes) {
    const XXH128_hash_t hash = XXH3_128bits(data, n_bytes);
    char text[digest_length + 1];
    std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(hash.high64),
                  static_cast<unsigned long long>(hash.low64));
    return text;
}

std::uint64_t blocks_of(std::uint64_t bytes) {
    return (bytes + block_bytes - 1) / block_bytes;
}

/// Whether the name is that of an entry, or of one that was never finished.
bool is_entry(std::string_view name) {
    return name.size() > digest_length && name[digest_length] == '-' &&
           name.find_first_not_of("0123456789abcdef") == digest_length;
}

/// Left by a process that was killed; others may still be writing.
bool is_abandoned(const private_folder::file& file) {
    return is_entry(file.name) && file.name.find('.') != std::string::npos &&
           file.written.tv_sec < std::time(nullptr) - seconds_to_finish;
}

} // namespace

std::string translation_cache::key_of(const unsigned char* image, std::size_t n_bytes) {
    return digest(image, n_bytes) + "-" + translation_version;
}

template <typename Work>
void translation_cache::attempt(const Work& work) {
    try {
        work();
    } catch (const std::exception& error) {
        report_(error.what());
    }
}

/// Null if there is none, or if it has been refused, which is reported once.
const private_folder* translation_cache::folder(private_folder::when_missing action) {
    if (!folder_ && !path_.empty()) {
        try {
            folder_ = private_folder::open(path_, action);
        } catch (...) {
            path_.clear();
            throw;
        }
    }
    return folder_ ? &*folder_ : nullptr;
}

std::optional<std::string> translation_cache::find(const std::string& key) {
    std::optional<std::string> result;
    attempt([&] {
        const auto* const place = folder(private_folder::when_missing::stop);
        result = place == nullptr ? std::nullopt : place->read(key);
        if (!result) {
            return;
        }
        std::string& contents = *result;
        const std::string expected = contents.substr(0, digest_length);
        contents.erase(0, digest_length);
        if (expected != digest(contents.data(), contents.size())) {
            result.reset();
            throw std::runtime_error((path_ / key).string() + ": is damaged");
        }
    });
    return result;
}

void translation_cache::store(const std::string& key, const std::string& bitcode) {
    attempt([&] {
        const std::uint64_t bytes = digest_length + bitcode.size();
        if (const auto* const place = folder(private_folder::when_missing::make)) {
            if (blocks_of(bytes) > max_bytes_ / unseen_share / block_bytes) {
                throw std::runtime_error((path_ / key).string() + ": " + std::to_string(bytes) +
                                         " bytes are above a sixteenth of the limit of " +
                                         std::to_string(max_bytes_));
            }
            place->replace(key, digest(bitcode.data(), bitcode.size()) + bitcode);
            count(bytes);
        }
    });
}

/// Frees space when enough has been stored since it was last done.
void translation_cache::count(std::uint64_t bytes) {
    std::uint64_t unseen = max_bytes_;
    attempt([&] { unseen = folder_->append_zeros(counter, blocks_of(bytes)); });
    if (unseen > max_bytes_ / unseen_share / block_bytes) {
        evict();
    }
}

void translation_cache::evict() {
    // Whoever stores from here on begins a new count, or has its entry seen below.
    folder_->remove(counter);
    std::vector<private_folder::file> files;
    for (auto& file : folder_->files()) {
        if (is_abandoned(file)) {
            folder_->remove(file.name);
        } else if (is_entry(file.name)) {
            files.push_back(std::move(file));
        }
    }
    std::sort(files.begin(), files.end(), [](const auto& left, const auto& right) {
        return std::tie(left.written.tv_sec, left.written.tv_nsec) <
               std::tie(right.written.tv_sec, right.written.tv_nsec);
    });
    std::uint64_t bytes = 0;
    for (const auto& file : files) {
        bytes += blocks_of(file.bytes) * block_bytes;
    }
    const std::uint64_t allowed = max_bytes_ - max_bytes_ / freed_share;
    for (auto oldest = files.begin(); bytes > allowed; ++oldest) {
        folder_->remove(oldest->name);
        bytes -= blocks_of(oldest->bytes) * block_bytes;
    }
}

} // namespace sycl::detail::opencl
