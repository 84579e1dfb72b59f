#include "entry_list.hpp"
#include "in_child.hpp"
#include "threads.hpp"
#include "watched_process.hpp"

#include <runtime/qtx_cl_entries.hpp>
#include <runtime/qtx_cl_init.hpp>

#include <gmock/gmock.h>

#include <cstring>

#include <dlfcn.h>
#include <unistd.h>

using test::in_child;
using test::process;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* opencl = "libOpenCL.so.1";
constexpr int lazy = RTLD_LAZY;
constexpr int lazy_global = RTLD_LAZY | RTLD_GLOBAL;

} // namespace

TEST(cl_loader, resolves_the_whole_list_in_its_order_with_one_open) {
    in_child([] {
        process().files[opencl] = FAKE_OPENCL;
        EXPECT_EQ(qtx_fp_clFinish, nullptr);
        for (int attempt = 0; attempt < 2; ++attempt) {
            EXPECT_EQ(qtx_cl_load_lib(), 0);
            EXPECT_THAT(process().opens, ElementsAre(test::open_call{opencl, lazy}));
            EXPECT_EQ(process().looked_up, test::entry_list());
        }
        EXPECT_EQ(process().looked_up.size(), 98U);
        EXPECT_NE(qtx_fp_clGetSupportedImageFormats, nullptr);
        EXPECT_NE(qtx_fp_clSVMFree, nullptr);
        EXPECT_THAT(process().reports, IsEmpty());
    });
}

TEST(cl_loader, without_a_library_tries_three_opens_or_one_with_a_static_c_library_once_and_for_all) {
    for (const bool is_static : {false, true}) {
        in_child([is_static] {
            process().libc_is_static = is_static;
            process().files[opencl] = "";
            EXPECT_EQ(qtx_cl_load_lib(), -1);
            process().files[opencl] = FAKE_OPENCL;
            EXPECT_EQ(qtx_cl_load_lib(), -1) << "a failure is final";
            EXPECT_EQ(qtx_cl_init(), -1);
            std::vector<test::open_call> tried{{opencl, lazy}, {opencl, lazy_global}, {opencl, lazy_global}};
            tried.erase(tried.begin(), tried.begin() + (is_static ? 2 : 0));
            EXPECT_EQ(process().opens, tried);
            EXPECT_THAT(process().looked_up, IsEmpty());
            EXPECT_THAT(process().reports, IsEmpty());
        });
    }
}

TEST(cl_loader, tries_both_path_prefixes_if_they_differ) {
    for (const bool same : {false, true}) {
        in_child([same] {
            process().files = {
                {opencl, ""}, {"/first/libOpenCL.so.1", ""}, {"/other/libOpenCL.so.1", FAKE_OPENCL}};
            std::strcpy(DispLibPath, "/first/");
            std::strcpy(EXEPath, same ? "/first/" : "/other/");
            EXPECT_EQ(qtx_cl_load_lib(), same ? -1 : 0);
            EXPECT_EQ(process().opens.size(), same ? 3U : 2U);
            EXPECT_EQ(process().opens[1].name, same ? opencl : "/other/libOpenCL.so.1");
        });
    }
}

TEST(cl_loader, thirty_two_threads_make_one_attempt_and_get_one_result) {
    for (const int expected : {0, -1}) {
        in_child([expected] {
            process().files[opencl] = expected == 0 ? FAKE_OPENCL : "";
            const auto load = [](std::size_t i) {
                return i % 2 == 0 ? qtx_cl_load_lib() : qtx_clFinish(nullptr) == 0 ? 0 : -1;
            };
            EXPECT_THAT(test::on_threads(32, load), Each(expected));
            EXPECT_EQ(process().opens.size(), expected == 0 ? 1U : 3U);
            EXPECT_EQ(process().looked_up.size(), expected == 0 ? 98U : 0U);
        });
    }
}

TEST(cl_init, tells_which_of_the_two_libraries_is_missing) {
    for (const int expected : {0, -1, -2}) {
        SCOPED_TRACE(expected);
        in_child([expected] {
            process().files = {{opencl, expected == -1 ? "" : FAKE_OPENCL},
                               {"libomptarget.so", expected == -2 ? "" : FAKE_OMPTARGET}};
            EXPECT_EQ(qtx_cl_init(), expected);
            EXPECT_EQ(qtx_cl_init(), expected);
            EXPECT_EQ(process().opens.back().name, expected == -1 ? opencl : "libomptarget.so");
        });
    }
}

TEST(load_library, puts_a_path_before_a_name_without_slashes_and_keeps_within_its_buffer) {
    in_child([] {
        char path[] = "/nowhere/";
        for (std::string name : {"x86/libm.so.6", "/libm.so.6", "libm.so.6/"}) {
            EXPECT_EQ(QTXLoadLibrary(name.data(), path), nullptr) << name;
        }
        EXPECT_THAT(process().opens, IsEmpty());
        char name[] = "lib.so";
        std::string longest(qtx_path_size - 3, 'p');
        EXPECT_EQ(QTXLoadLibrary(name, path), nullptr);
        EXPECT_EQ(QTXLoadLibrary(name, longest.data()), nullptr);
        EXPECT_THAT(process().opens, ElementsAre(test::open_call{"/nowhere/lib.so", lazy},
                                                 test::open_call{longest + "li", lazy}));
    });
}

TEST(working_directory, is_recorded_at_load_with_a_slash_where_there_is_room) {
    char directory[qtx_path_size];
    ASSERT_NE(getcwd(directory, sizeof directory), nullptr);
    EXPECT_EQ(DispLibCWD, std::string(directory) + "/");
    for (const std::size_t length : {4093U, 4094U, 4095U}) {
        in_child([length] {
            process().working_directory = [length](char* buffer, std::size_t size) {
                EXPECT_EQ(size, 4096U);
                std::memset(buffer, 'd', length);
                buffer[length] = '\0';
                return buffer;
            };
            _Init_QTX_Loader();
            EXPECT_EQ(DispLibCWD, std::string(length, 'd') + (length < 4095 ? "/" : ""));
        });
    }
}

TEST(working_directory, that_cannot_be_read_is_reported_with_the_librarys_name) {
    in_child([] {
        process().working_directory = [](char*, std::size_t) -> char* { return nullptr; };
        _Init_QTX_Loader();
        EXPECT_THAT(process().reports,
                    ElementsAre(testing::MatchesRegex("print 1 1 1 .*loader_tests"), "iface_exit 2"));
    });
}
