#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace sycl::detail::opencl {

/**
 * Translated images on disk. Several processes may share the folder: entries appear complete, by renaming,
 * and an entry that has been damaged is not used. A folder that cannot be written costs time, nothing else.
 */
class translation_cache {
public:
    /// \p folder may be empty: then nothing is ever found.
    explicit translation_cache(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// The name of an image's entry, made of its contents.
    static std::string key_of(const unsigned char* image, std::size_t n_bytes);

    std::optional<std::string> find(const std::string& key) const;
    void store(const std::string& key, const std::string& bitcode) const;

private:
    std::filesystem::path folder_;
};

} // namespace sycl::detail::opencl
