#include "devices.hpp"

#include "../../platform/sycl/src/opencl_settings.hpp"
#include "../../platform/sycl/src/opencl_translation_cache.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace sycl::detail::opencl;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr uid_t other_user = 65534;

std::string key_number(unsigned number) {
    return translation_cache::key_of(reinterpret_cast<const unsigned char*>(&number), sizeof number);
}

void write_file(const fs::path& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
}

std::string contents_of(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

mode_t mode_of(const fs::path& path) {
    struct stat facts {};
    return lstat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

void give_away(const fs::path& path) {
    EXPECT_EQ(chown(path.c_str(), other_user, 0), 0);
}

class translation_cache_test : public testing::Test {
protected:
    void SetUp() override {
        alarm(60); // a pipe must not hold the process
        std::string name = testing::TempDir() + "qtx_cache_XXXXXX";
        root = mkdtemp(name.data());
        parent = root / "parent";
        folder = parent / "sycl_translations";
    }
    void TearDown() override {
        fs::remove_all(root);
        alarm(0);
    }

    translation_cache cache(const fs::path& where, std::uint64_t limit = 64U << 20) {
        return {where, limit, [this](const std::string& what) { reports.push_back(what); }};
    }
    /// By objects of their own, as of several processes.
    std::optional<std::string> find(const std::string& name) { return cache(folder).find(name); }
    void store(const std::string& name, const std::string& bitcode) { cache(folder).store(name, bitcode); }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& file : fs::directory_iterator(folder)) {
            result.push_back(file.path().filename());
        }
        return result;
    }

    fs::path root;
    fs::path parent;
    fs::path folder;
    const std::string key = key_number(0);
    std::vector<std::string> reports;
};

TEST_F(translation_cache_test, keeps_what_is_stored_where_only_the_user_can_write) {
    const auto mask = umask(0);
    EXPECT_EQ(find(key), std::nullopt);
    EXPECT_FALSE(fs::exists(parent));
    store(key, "bitcode");
    umask(mask);
    EXPECT_EQ(find(key), "bitcode");
    EXPECT_EQ(find(key_number(1)), std::nullopt);
    EXPECT_EQ(mode_of(parent), 0700U);
    EXPECT_EQ(mode_of(folder), 0700U);
    EXPECT_EQ(mode_of(folder / key), 0600U);
    EXPECT_THAT(names(), testing::UnorderedElementsAre(key, "stored_blocks"));
    EXPECT_THAT(reports, ElementsAre());
}

struct spoiling {
    std::string words; ///< of the report
    std::function<void(const fs::path& entry)> spoil;
};

TEST_F(translation_cache_test, uses_no_file_that_others_made_or_could_change_and_replaces_it) {
    const fs::path good = root / "good";
    const std::vector<spoiling> cases{
        {"mode 0620", [](const auto& entry) { chmod(entry.c_str(), 0620); }},
        {"mode 0602", [](const auto& entry) { chmod(entry.c_str(), 0602); }},
        {"user 65534, expected 0", [](const auto& entry) { give_away(entry); }},
        {"symbolic links",
         [&](const auto& entry) {
             fs::rename(entry, good);
             fs::create_symlink(good, entry);
         }},
        {"no regular file",
         [](const auto& entry) {
             fs::remove(entry);
             mkfifo(entry.c_str(), 0600);
         }},
        {"damaged", [](const auto& entry) { fs::resize_file(entry, 0); }},
        {"damaged", [](const auto& entry) { fs::resize_file(entry, fs::file_size(entry) - 1); }},
        {"damaged", [](const auto& entry) { write_file(entry, "?" + contents_of(entry).substr(1)); }}};
    for (const auto& [words, spoil] : cases) {
        SCOPED_TRACE(words);
        if (words.find("user") == 0 && geteuid() != 0) {
            continue;
        }
        reports.clear();
        store(key, "bitcode");
        ASSERT_EQ(find(key), "bitcode");
        spoil(folder / key);
        EXPECT_EQ(find(key), std::nullopt);
        EXPECT_THAT(reports, ElementsAre(testing::AllOf(HasSubstr(folder / key), HasSubstr(words))));
        store(key, "new");
        EXPECT_EQ(find(key), "new");
        EXPECT_EQ(reports.size(), 1U);
    }
    EXPECT_THAT(contents_of(good), HasSubstr("bitcode")) << "written through a link";

    fs::remove(folder / key);
    fs::create_directory(folder / key);
    EXPECT_EQ(find(key), std::nullopt);
    store(key, "bitcode");
    EXPECT_THAT(reports.back(), HasSubstr("directory"));
    EXPECT_THAT(names(), testing::UnorderedElementsAre(key, "stored_blocks"));
}

TEST_F(translation_cache_test, uses_no_folder_that_others_made_or_could_change) {
    const fs::path good = root / "good";
    const auto replaced_by_link = [&](const fs::path& place) {
        fs::rename(place, good);
        fs::create_directory_symlink(good, place);
    };
    const std::vector<spoiling> cases{
        {"mode 0720", [&](const auto&) { chmod(folder.c_str(), 0720); }},
        {"mode 1777", [&](const auto&) { chmod(folder.c_str(), 01777); }},
        {"user 65534, expected 0", [&](const auto&) { give_away(folder); }},
        {"Not a directory", [&](const auto&) { replaced_by_link(folder); }},
        {"Not a directory",
         [&](const auto&) {
             fs::rename(folder, good);
             mkfifo(folder.c_str(), 0700);
         }},
        {"parent: has mode 0777", [&](const auto&) { chmod(parent.c_str(), 0777); }},
        {"parent: belongs to user 65534", [&](const auto&) { give_away(parent); }}};
    for (const auto& [words, spoil] : cases) {
        SCOPED_TRACE(words);
        if (words.find("user") != std::string::npos && geteuid() != 0) {
            continue;
        }
        fs::remove_all(good);
        fs::remove_all(parent);
        reports.clear();
        store(key, "bitcode");
        spoil(folder);
        auto refused = cache(folder);
        EXPECT_EQ(refused.find(key), std::nullopt);
        refused.store(key, "new");
        EXPECT_THAT(reports, ElementsAre(HasSubstr(words)));
        const fs::path kept = fs::is_directory(folder) ? folder / key : good / key;
        EXPECT_THAT(contents_of(kept), HasSubstr("bitcode"));
    }
}

TEST_F(translation_cache_test, trusts_shared_folders_that_keep_names_and_links_to_own_folders) {
    fs::create_directory(parent);
    chmod(parent.c_str(), 01777);
    store(key, "bitcode");
    fs::create_directory_symlink(parent, root / "link");
    EXPECT_EQ(cache(root / "link" / "sycl_translations").find(key), "bitcode");
    EXPECT_THAT(reports, ElementsAre());
}

TEST_F(translation_cache_test, goes_without_a_folder_or_a_file_that_cannot_be_made) {
    const fs::path before = fs::current_path();
    fs::current_path(root);
    cache("relative").store(key, "bitcode");
    fs::current_path(before);
    EXPECT_FALSE(fs::exists(root / "relative"));

    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tiny{10, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tiny);
    store(key, "bitcode");
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(find(key), std::nullopt);
    EXPECT_THAT(names(), ElementsAre());

    if (geteuid() == 0) {
        chmod(root.c_str(), 0755);
        chmod(parent.c_str(), 0755);
        chmod(folder.c_str(), 0500);
        give_away(folder);
        EXPECT_EQ(seteuid(other_user), 0);
        store(key, "bitcode");
        EXPECT_EQ(seteuid(0), 0);
        EXPECT_THAT(names(), ElementsAre());
        EXPECT_THAT(reports.back(), HasSubstr("Permission denied"));
        reports.pop_back();
    }
    EXPECT_THAT(reports, ElementsAre(HasSubstr("no absolute path"), HasSubstr("limit of file sizes, 10")));
}

TEST_F(translation_cache_test, keeps_below_its_limit_without_looking_through_the_folder_for_every_entry) {
    constexpr std::uint64_t limit = 1U << 20;
    const auto store_number = [&](unsigned number, std::size_t bytes) {
        cache(folder, limit).store(key_number(number), std::string(bytes, 'b'));
    };
    const auto make_abandoned = [&] {
        const fs::path result = folder / (key + ".0123456789abcdef");
        write_file(result, "unfinished");
        fs::last_write_time(result, fs::file_time_type::clock::now() - std::chrono::hours(1));
        return result;
    };
    store_number(0, 10);
    write_file(folder / "stranger", std::string(limit, 's'));
    write_file(folder / (key + ".fedcba9876543210"), "being written");
    fs::last_write_time(folder / "stranger", fs::file_time_type::clock::now() - std::chrono::hours(1));
    const fs::path abandoned = make_abandoned();
    for (unsigned number = 1; number < 16; ++number) {
        store_number(number, 10);
    }
    EXPECT_TRUE(fs::exists(abandoned)) << "looked through after less than a sixteenth of the limit";
    store_number(16, 10);
    EXPECT_FALSE(fs::exists(abandoned));

    for (unsigned number = 17; number < 200; ++number) {
        store_number(number, 20000);
        std::uint64_t bytes = 0;
        for (const auto& file : fs::directory_iterator(folder)) {
            bytes += file.path().filename() == "stranger" ? 0 : file.file_size();
        }
        ASSERT_LE(bytes, limit) << "after entry " << number;
        ASSERT_NE(find(key_number(number)), std::nullopt);
    }
    EXPECT_EQ(find(key_number(0)), std::nullopt);
    EXPECT_NE(find(key_number(170)), std::nullopt) << "more was freed than needed";
    EXPECT_TRUE(fs::exists(folder / "stranger"));
    EXPECT_THAT(reports, ElementsAre());

    store_number(1000, limit / 16);
    EXPECT_EQ(find(key_number(1000)), std::nullopt);
    EXPECT_THAT(reports, ElementsAre(HasSubstr("above a sixteenth of the limit of 1048576")));
}

TEST_F(translation_cache_test, is_shared_by_processes) {
    constexpr std::uint64_t limit = 1U << 20;
    const auto contents = [](unsigned number) {
        return std::string(10000 + number, static_cast<char>(number));
    };
    std::vector<pid_t> children;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const pid_t child = fork();
        if (child != 0) {
            children.push_back(child);
            continue;
        }
        unsigned n_wrong = 0;
        for (unsigned i = 0; i < 300; ++i) {
            auto shared = cache(folder, limit);
            const unsigned number = i * seed % 120;
            const auto found = shared.find(key_number(number));
            n_wrong += found && *found != contents(number) ? 1 : 0;
            shared.store(key_number(number), contents(number));
        }
        _exit(n_wrong == 0 && reports.empty() ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    std::uint64_t bytes = 0;
    for (const auto& name : names()) {
        EXPECT_TRUE(name.find('.') == std::string::npos) << name;
        bytes += fs::file_size(folder / name);
    }
    EXPECT_GT(bytes, limit / 2);
    EXPECT_LE(bytes, limit + 3 * 10200) << "each process may have one entry that another has not seen";
}

TEST(translation_settings, come_from_the_environment) {
    std::map<std::string, std::string> old;
    const auto set = [&](const char* name, const char* value) {
        const char* const before = std::getenv(name);
        old.emplace(name, before == nullptr ? "" : before);
        setenv(name, value, 1);
    };
    set("POCL_CACHE_DIR", "/driver");
    set("XDG_CACHE_HOME", "/caches");
    set("HOME", "/home/me");
    EXPECT_EQ(translation_folder(), "/driver/sycl_translations");
    set("POCL_CACHE_DIR", "driver");
    EXPECT_EQ(translation_folder(), "/caches/sycl_translations");
    set("XDG_CACHE_HOME", "./caches");
    EXPECT_EQ(translation_folder(), "/home/me/.cache/sycl_translations");
    set("HOME", "");
    EXPECT_EQ(translation_folder(), "");

    set("SYCL_OPENCL_CACHE_MIB", "");
    EXPECT_EQ(most_translation_bytes(), 64U << 20);
    set("SYCL_OPENCL_CACHE_MIB", "3");
    EXPECT_EQ(most_translation_bytes(), 3U << 20);
    for (const char* const wrong : {"-1", "3M", "1e3", "1000000000000000000000"}) {
        set("SYCL_OPENCL_CACHE_MIB", wrong);
        test::expect_refused(sycl::errc::invalid, "SYCL_OPENCL_CACHE_MIB is '" + std::string(wrong) + "'",
                             [] { most_translation_bytes(); });
    }
    for (const auto& [name, value] : old) {
        setenv(name.c_str(), value.c_str(), 1);
    }
}

} // namespace
