#include "private_folder.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sycl::detail {

file_descriptor& file_descriptor::operator=(file_descriptor&& other) noexcept {
    file_descriptor old(std::exchange(number_, other.release()));
    return *this;
}

file_descriptor::~file_descriptor() {
    if (number_ >= 0) {
        close(number_);
    }
}

int file_descriptor::release() {
    return std::exchange(number_, -1);
}

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw std::runtime_error(path + ": " + why);
}

[[noreturn]] void refuse_for_errno(const std::string& path) {
    refuse(path, std::system_category().message(errno));
}

struct stat facts_of(const file_descriptor& opened, const std::string& path) {
    struct stat result {};
    if (fstat(opened.get(), &result) != 0) {
        refuse_for_errno(path);
    }
    return result;
}

bool others_write(const struct stat& facts) {
    return (facts.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

[[noreturn]] void refuse_owner(const struct stat& facts, const std::string& path) {
    refuse(path,
           "belongs to user " + std::to_string(facts.st_uid) + ", expected " + std::to_string(geteuid()));
}

[[noreturn]] void refuse_mode(const struct stat& facts, const std::string& path) {
    std::array<char, 8> mode{};
    std::snprintf(mode.data(), mode.size(), "%04o", facts.st_mode & 07777U);
    refuse(path, "has mode " + std::string(mode.data()) + ", which lets other users write");
}

/// What is in the folder can be renamed or replaced by root and the effective user alone.
void check_parent(const struct stat& facts, const std::string& path) {
    if (facts.st_uid != 0 && facts.st_uid != geteuid()) {
        refuse_owner(facts, path);
    }
    if (others_write(facts) && (facts.st_mode & S_ISVTX) == 0) {
        refuse_mode(facts, path);
    }
}

void check_own(const struct stat& facts, const std::string& path) {
    if (facts.st_uid != geteuid()) {
        refuse_owner(facts, path);
    }
    if (others_write(facts)) {
        refuse_mode(facts, path);
    }
}

struct stat check_own_file(const file_descriptor& opened, const std::string& path) {
    const struct stat facts = facts_of(opened, path);
    if (!S_ISREG(facts.st_mode)) {
        refuse(path, "is no regular file");
    }
    check_own(facts, path);
    return facts;
}

constexpr int folder_flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int file_flags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

file_descriptor open_folder(const file_descriptor& parent, const char* name,
                            private_folder::when_missing action) {
    int opened = openat(parent.get(), name, folder_flags);
    if (opened < 0 && errno == ENOENT && action == private_folder::when_missing::make) {
        if (mkdirat(parent.get(), name, S_IRWXU) == 0 || errno == EEXIST) {
            opened = openat(parent.get(), name, folder_flags);
        }
    }
    return file_descriptor(opened);
}

/// Without this check a file beyond the limit would end the process by a signal.
void check_size_limit(std::uint64_t bytes, const std::string& path) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && bytes > limit.rlim_cur) {
        refuse(path, std::to_string(bytes) + " bytes are above the process's limit of file sizes, " +
                         std::to_string(limit.rlim_cur));
    }
}

void write_all(const file_descriptor& target, std::string_view contents, const std::string& path) {
    while (!contents.empty()) {
        const ssize_t n = write(target.get(), contents.data(), contents.size());
        if (n < 0 && errno != EINTR) {
            refuse_for_errno(path);
        }
        contents.remove_prefix(static_cast<std::size_t>(n > 0 ? n : 0));
    }
}

struct folder_closer {
    void operator()(DIR* list) const { closedir(list); }
};

std::string random_text() {
    unsigned long long number = 0;
    if (getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) {
        refuse_for_errno("random numbers");
    }
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx", number);
    return text.data();
}

} // namespace

std::optional<private_folder> private_folder::open(const std::filesystem::path& path, when_missing action) {
    if (!path.is_absolute()) {
        refuse(path, "is no absolute path");
    }
    // Links above the folder are followed here, once; what they lead to is checked.
    std::error_code failed;
    const auto parents = std::filesystem::weakly_canonical(path.parent_path(), failed);
    if (failed) {
        refuse(path.parent_path(), failed.message());
    }
    file_descriptor opened(::open("/", folder_flags));
    std::filesystem::path place = "/";
    for (const auto& name : (parents / path.filename()).relative_path()) {
        check_parent(facts_of(opened, place), place);
        place /= name;
        opened = open_folder(opened, name.c_str(), action);
        if (opened.get() < 0) {
            if (errno == ENOENT && action == when_missing::stop) {
                return std::nullopt;
            }
            refuse_for_errno(place);
        }
    }
    check_own(facts_of(opened, place), place);
    return private_folder(std::move(opened), std::move(place));
}

std::optional<std::string> private_folder::read(const std::string& name) const {
    const file_descriptor source(openat(folder_.get(), name.c_str(), O_RDONLY | file_flags));
    if (source.get() < 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        refuse_for_errno(path_of(name));
    }
    const struct stat facts = check_own_file(source, path_of(name));
    std::string result(static_cast<std::size_t>(facts.st_size), '\0');
    std::size_t n_read = 0;
    while (n_read < result.size()) {
        const ssize_t n = ::read(source.get(), result.data() + n_read, result.size() - n_read);
        if (n < 0 && errno != EINTR) {
            refuse_for_errno(path_of(name));
        }
        if (n == 0) {
            break;
        }
        n_read += static_cast<std::size_t>(n > 0 ? n : 0);
    }
    result.resize(n_read);
    return result;
}

void private_folder::replace(const std::string& name, std::string_view contents) const {
    check_size_limit(contents.size(), path_of(name));
    const std::string unfinished = name + "." + random_text();
    const file_descriptor target(openat(folder_.get(), unfinished.c_str(),
                                        O_WRONLY | O_CREAT | O_EXCL | file_flags, S_IRUSR | S_IWUSR));
    if (target.get() < 0) {
        refuse_for_errno(path_of(unfinished));
    }
    try {
        write_all(target, contents, path_of(unfinished));
        if (renameat(folder_.get(), unfinished.c_str(), folder_.get(), name.c_str()) != 0) {
            refuse_for_errno(path_of(name));
        }
    } catch (...) {
        remove(unfinished);
        throw;
    }
}

std::uint64_t private_folder::append_zeros(const std::string& name, std::size_t n_bytes) const {
    const file_descriptor target(
        openat(folder_.get(), name.c_str(), O_WRONLY | O_CREAT | O_APPEND | file_flags, S_IRUSR | S_IWUSR));
    if (target.get() < 0) {
        refuse_for_errno(path_of(name));
    }
    const struct stat facts = check_own_file(target, path_of(name));
    const std::uint64_t length = static_cast<std::uint64_t>(facts.st_size) + n_bytes;
    check_size_limit(length, path_of(name));
    write_all(target, std::string(n_bytes, '\0'), path_of(name));
    return length;
}

void private_folder::remove(const std::string& name) const noexcept {
    unlinkat(folder_.get(), name.c_str(), 0);
}

std::vector<private_folder::file> private_folder::files() const {
    file_descriptor readable(openat(folder_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, folder_closer> list(readable.get() < 0 ? nullptr : fdopendir(readable.get()));
    if (list == nullptr) {
        refuse_for_errno(path_);
    }
    readable.release();
    std::vector<file> result;
    while (const dirent* const entry = readdir(list.get())) {
        struct stat facts {};
        if (fstatat(folder_.get(), entry->d_name, &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(facts.st_mode)) {
            result.push_back({entry->d_name, static_cast<std::uint64_t>(facts.st_size), facts.st_mtim});
        }
    }
    return result;
}

} // namespace sycl::detail
