#include "entry_list.hpp"
#include "in_child.hpp"
#include "own_services.hpp"
#include "threads.hpp"
#include "watched_loader.hpp"

#include <runtime/qtx_cl_entries.hpp>
#include <runtime/qtx_cl_init.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include <dlfcn.h>
#include <unistd.h>

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* opencl = "libOpenCL.so.1";
constexpr int lazy = RTLD_LAZY;
constexpr int lazy_global = RTLD_LAZY | RTLD_GLOBAL;

test::watched_loader& loader() {
    return test::watched_loader::instance();
}

void use_opencl(const std::string& file) {
    loader().files[opencl] = file;
}

void set_path(char (&path)[qtx_path_size], const std::string& text) {
    std::strcpy(path, text.c_str());
}

} // namespace

TEST(cl_loader, resolves_the_whole_list_in_its_order_with_one_open) {
    test::in_child([] {
        use_opencl(FAKE_OPENCL);
        EXPECT_EQ(qtx_fp_clFinish, nullptr);
        EXPECT_EQ(qtx_cl_load_lib(), 0);
        EXPECT_THAT(loader().opens(), ElementsAre(test::open_call{opencl, lazy}));
        EXPECT_EQ(loader().looked_up(), test::entry_names());
        EXPECT_EQ(loader().looked_up().size(), 98U);
        EXPECT_NE(qtx_fp_clGetSupportedImageFormats, nullptr);
        EXPECT_NE(qtx_fp_clSVMFree, nullptr);
        EXPECT_EQ(qtx_cl_load_lib(), 0);
        EXPECT_EQ(loader().opens().size(), 1U);
        EXPECT_THAT(test::reports(), IsEmpty());
    });
}

TEST(cl_loader, resolves_the_list_in_the_machines_own_library) {
    test::in_child([] {
        EXPECT_EQ(qtx_cl_load_lib(), 0);
        cl_uint n_platforms = 0;
        EXPECT_EQ(qtx_clGetPlatformIDs(0, nullptr, &n_platforms), CL_SUCCESS);
    });
}

TEST(cl_loader, without_a_library_tries_three_opens_once_and_for_all) {
    test::in_child([] {
        use_opencl("");
        EXPECT_EQ(qtx_cl_load_lib(), -1);
        const std::vector<test::open_call> tried{
            {opencl, lazy}, {opencl, lazy_global}, {opencl, lazy_global}};
        EXPECT_EQ(loader().opens(), tried);
        use_opencl(FAKE_OPENCL);
        EXPECT_EQ(qtx_cl_load_lib(), -1) << "a failure is final";
        EXPECT_EQ(qtx_cl_init(), -1);
        EXPECT_EQ(loader().opens(), tried);
        EXPECT_THAT(loader().looked_up(), IsEmpty());
        EXPECT_THAT(test::reports(), IsEmpty());
    });
}

TEST(cl_loader, with_a_static_c_library_opens_once_for_everybody) {
    test::in_child([] {
        use_opencl("");
        test::set_libc_is_static(true);
        EXPECT_EQ(qtx_cl_load_lib(), -1);
        EXPECT_THAT(loader().opens(), ElementsAre(test::open_call{opencl, lazy_global}));
    });
}

TEST(cl_loader, tries_both_path_prefixes_if_they_differ) {
    for (const bool same : {false, true}) {
        test::in_child([same] {
            use_opencl("");
            set_path(DispLibPath, "/first/");
            set_path(EXEPath, same ? "/first/" : "/other/");
            loader().files["/first/libOpenCL.so.1"] = "";
            loader().files["/other/libOpenCL.so.1"] = same ? "" : FAKE_OPENCL;
            EXPECT_EQ(qtx_cl_load_lib(), same ? -1 : 0);
            EXPECT_EQ(loader().opens().size(), same ? 3U : 2U);
            EXPECT_EQ(loader().opens()[1].name, same ? opencl : "/other/libOpenCL.so.1");
        });
    }
}

TEST(cl_loader, a_library_that_lacks_one_name_fails_but_keeps_what_came_before) {
    const auto names = test::entry_names();
    const std::pair<const char*, const char*> gaps[] = {
        {FAKE_OPENCL_WITHOUT_FIRST, "clGetSupportedImageFormats"},
        {FAKE_OPENCL_WITHOUT_97TH, "clCreateProgramWithIL"},
        {FAKE_OPENCL_WITHOUT_LAST, "clSVMFree"}};
    for (const auto& [file, missing] : gaps) {
        SCOPED_TRACE(missing);
        const auto place = std::find(names.begin(), names.end(), missing);
        ASSERT_NE(place, names.end());
        test::in_child([&, library = file] {
            use_opencl(library);
            EXPECT_EQ(qtx_cl_load_lib(), -1);
            EXPECT_EQ(loader().opens().size(), 1U) << "another open cannot help";
            EXPECT_EQ(loader().looked_up(), std::vector<std::string>(names.begin(), place + 1));
            EXPECT_EQ(qtx_fp_clSVMFree, nullptr);
            EXPECT_EQ(qtx_fp_clFinish == nullptr, place == names.begin());
            EXPECT_EQ(qtx_cl_load_lib(), -1);
            EXPECT_EQ(loader().opens().size(), 1U);
        });
    }
}

TEST(cl_loader, thirty_two_threads_make_one_attempt_and_get_one_result) {
    for (const int expected : {0, -1}) {
        test::in_child([expected] {
            use_opencl(expected == 0 ? FAKE_OPENCL : "");
            EXPECT_THAT(test::on_threads(32, [](std::size_t) { return qtx_cl_load_lib(); }), Each(expected));
            EXPECT_EQ(loader().opens().size(), expected == 0 ? 1U : 3U);
            EXPECT_EQ(loader().looked_up().size(), expected == 0 ? 98U : 0U);
        });
    }
}

TEST(cl_loader, threads_that_call_a_wrapper_at_once_load_once) {
    test::in_child([] {
        use_opencl(FAKE_OPENCL);
        const auto results = test::on_threads(32, [](std::size_t) { return qtx_clFinish(nullptr); });
        EXPECT_THAT(results, Each(0));
        EXPECT_EQ(loader().opens().size(), 1U);
    });
}

TEST(cl_init, tells_which_of_the_two_libraries_is_missing) {
    for (const int expected : {0, -1, -2}) {
        SCOPED_TRACE(expected);
        test::in_child([expected] {
            use_opencl(expected == -1 ? "" : FAKE_OPENCL);
            loader().files["libomptarget.so"] = expected == -2 ? "" : FAKE_OMPTARGET;
            EXPECT_EQ(qtx_cl_init(), expected);
            EXPECT_EQ(qtx_cl_init(), expected);
            EXPECT_EQ(loader().opens().back().name, expected == -1 ? opencl : "libomptarget.so");
        });
    }
}

TEST(load_library, refuses_a_name_with_a_slash_whatever_the_path) {
    test::in_child([] {
        char path[] = "/usr/lib/";
        for (std::string name : {"x86/libm.so.6", "/libm.so.6", "libm.so.6/"}) {
            EXPECT_EQ(QTXLoadLibrary(name.data(), path), nullptr) << name;
        }
        EXPECT_THAT(loader().opens(), IsEmpty());
    });
}

TEST(load_library, puts_the_path_before_the_name_and_keeps_within_its_buffer) {
    test::in_child([] {
        char name[] = "lib.so";
        char path[] = "/nowhere/";
        EXPECT_EQ(QTXLoadLibrary(name, path), nullptr);
        EXPECT_THAT(loader().opens(), ElementsAre(test::open_call{"/nowhere/lib.so", lazy}));
        std::string longest(qtx_path_size - 3, 'p');
        EXPECT_EQ(QTXLoadLibrary(name, longest.data()), nullptr);
        EXPECT_EQ(loader().opens().back().name, longest + "li");
    });
}

TEST(working_directory, is_recorded_at_load_with_a_slash) {
    char directory[qtx_path_size];
    ASSERT_NE(getcwd(directory, sizeof directory), nullptr);
    EXPECT_EQ(DispLibCWD, std::string(directory) + "/");
}

TEST(working_directory, gets_no_slash_where_there_is_no_room) {
    for (const std::size_t length : {4093U, 4094U, 4095U}) {
        test::in_child([length] {
            loader().working_directory = [length](char* buffer, std::size_t size) {
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
    test::in_child([] {
        loader().working_directory = [](char*, std::size_t) -> char* { return nullptr; };
        _Init_QTX_Loader();
        ASSERT_EQ(test::reports().size(), 2U);
        EXPECT_THAT(test::reports()[0], testing::MatchesRegex("print 1 1 1 .*loader_tests"));
        EXPECT_EQ(test::reports()[1], "iface_exit 2");
    });
}
