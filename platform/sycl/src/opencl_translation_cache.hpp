#pragma once

#include "private_folder.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace sycl::detail::opencl {

/**
 * Translated images on disk, in a folder that only the effective user can change. Several processes may share
 * it: entries appear complete, by renaming, and an entry that has been damaged is not used. What cannot be used
 * or written costs time, nothing else; nothing here throws for it.
 */
class translation_cache {
public:
    /**
     * \p folder may be empty: then nothing is kept. The entries keep below \p max_bytes, an entry below a
     * sixteenth of it; the oldest go first. \p report receives in words what is not used, and why.
     */
    translation_cache(std::filesystem::path folder, std::uint64_t max_bytes,
                      std::function<void(const std::string&)> report)
        : path_(std::move(folder)), max_bytes_(max_bytes), report_(std::move(report)) {}

    /// The name of an image's entry, made of its contents.
    static std::string key_of(const unsigned char* image, std::size_t n_bytes);

    std::optional<std::string> find(const std::string& key);
    void store(const std::string& key, const std::string& bitcode);

private:
    const private_folder* folder(private_folder::when_missing action);
    void count(std::uint64_t bytes);
    void evict();
    template <typename Work>
    void attempt(const Work& work);

    std::filesystem::path path_; ///< empty after the folder has been refused
    std::uint64_t max_bytes_;
    std::function<void(const std::string&)> report_;
    std::optional<private_folder> folder_;
};

} // namespace sycl::detail::opencl
