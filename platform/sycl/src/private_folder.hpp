#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <time.h>

namespace sycl::detail {

/// Closes itself.
class file_descriptor {
public:
    explicit file_descriptor(int number) : number_(number) {}
    file_descriptor(file_descriptor&& other) noexcept : number_(other.release()) {}
    file_descriptor& operator=(file_descriptor&& other) noexcept;
    ~file_descriptor();

    int get() const { return number_; }
    int release();

private:
    int number_; ///< negative if there is none
};

/**
 * A folder whose files nobody but the effective user can make, replace or change: the folder and its files
 * belong to that user and are writable for nobody else, and the folders above belong to root or to the user,
 * and let nobody else rename what is in them. Nothing is opened through a link or waits for another process,
 * and all access goes through the folder that was checked.
 *
 * What is refused, or fails, throws std::runtime_error with the path and the reason. Several processes may use
 * the folder at once.
 */
class private_folder {
public:
    enum class when_missing { stop, make };

    /// Nothing if the folder is missing and is not to be made; what is made has mode 0700. \p path is absolute.
    static std::optional<private_folder> open(const std::filesystem::path& path, when_missing action);

    /// The contents of a file; nothing if there is no such file.
    std::optional<std::string> read(const std::string& name) const;

    /// Puts a complete file in the place of whatever has the name. A process that is killed meanwhile leaves a
    /// file whose name is \p name, a dot and a random text.
    void replace(const std::string& name, std::string_view contents) const;

    /// Appends bytes of value 0 to a file, which is made if it is missing. Returns its length.
    std::uint64_t append_zeros(const std::string& name, std::size_t n_bytes) const;

    /// Says nothing if there is no such file.
    void remove(const std::string& name) const noexcept;

    struct file {
        std::string name;
        std::uint64_t bytes;
        timespec written;
    };
    /// All regular files.
    std::vector<file> files() const;

private:
    private_folder(file_descriptor folder, std::string path)
        : folder_(std::move(folder)), path_(std::move(path)) {}
    std::string path_of(const std::string& name) const { return path_ + "/" + name; }

    file_descriptor folder_;
    std::string path_;
};

} // namespace sycl::detail
