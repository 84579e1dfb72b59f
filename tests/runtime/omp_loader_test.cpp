#include "in_child.hpp"
#include "threads.hpp"
#include "watched_process.hpp"

#include <runtime/qtx_omp_wrappers.hpp>

#include <gmock/gmock.h>

#include <cstdlib>

#include <dlfcn.h>

using test::in_child;
using test::process;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* omptarget = "libomptarget.so";

} // namespace

TEST(omp_loader, resolves_four_names_with_one_open_and_forwards) {
    in_child([] {
        process().files[omptarget] = FAKE_OMPTARGET;
        char object[64];
        void* value = nullptr;
        int code = 0;
        EXPECT_EQ(qtx_tgt_get_interop_property(object, 5, &value), 7);
        EXPECT_EQ(value, object + 5);
        EXPECT_EQ(qtx_omp_get_interop_int(object, -1, &code), reinterpret_cast<std::intptr_t>(object) - 1);
        EXPECT_EQ(code, 8);
        EXPECT_EQ(qtx_omp_get_interop_ptr(object, 6, &code), object + 6);
        EXPECT_EQ(code, 9);
        EXPECT_EQ(qtx_omp_get_interop_str(object, 2, &code), object + 2);
        EXPECT_EQ(code, 10);
        EXPECT_EQ(qtx_omp_load_lib(), 0);
        EXPECT_THAT(process().opens, ElementsAre(test::open_call{omptarget, RTLD_LAZY | RTLD_GLOBAL}));
        EXPECT_THAT(process().looked_up, ElementsAre("__tgt_get_interop_property", "omp_get_interop_int",
                                                     "omp_get_interop_ptr", "omp_get_interop_str"));
        EXPECT_THAT(process().reports, IsEmpty());
    });
}

TEST(omp_loader, without_the_library_or_its_last_name_tries_once_and_reports_every_use) {
    for (const bool lacks_all : {true, false}) {
        in_child([lacks_all] {
            process().files[omptarget] = lacks_all ? "" : FAKE_OMPTARGET_WITHOUT_STR;
            char object[16];
            int code = 0;
            void* value = nullptr;
            EXPECT_EQ(qtx_omp_load_lib(), -1);
            process().files[omptarget] = FAKE_OMPTARGET;
            EXPECT_EQ(qtx_omp_load_lib(), -1) << "a failure is final";
            EXPECT_EQ(qtx_tgt_get_interop_property(object, 2, &value), lacks_all ? 1 : 7);
            EXPECT_EQ(qtx_omp_get_interop_int(object, -1, &code) == 0, lacks_all);
            EXPECT_EQ(qtx_omp_get_interop_ptr(object, 6, &code), lacks_all ? nullptr : object + 6);
            EXPECT_EQ(qtx_omp_get_interop_str(object, 2, &code), nullptr);
            EXPECT_EQ(process().opens.size(), 1U);
            std::vector<std::string> missing;
            if (lacks_all) {
                missing = {"__tgt_get_interop_property", "omp_get_interop_int", "omp_get_interop_ptr"};
            }
            missing.push_back("omp_get_interop_str");
            std::vector<std::string> reports;
            for (const auto& name : missing) {
                reports.insert(reports.end(), {"print 0 3 1 '" + name + "'", "exit 2"});
            }
            EXPECT_EQ(process().reports, reports);
        });
    }
}

TEST(omp_loader, thirty_two_threads_make_one_attempt_and_get_one_result) {
    for (const int expected : {0, -1}) {
        in_child([expected] {
            process().files[omptarget] = expected == 0 ? FAKE_OMPTARGET : "";
            EXPECT_THAT(test::on_threads(32, [](std::size_t) { return qtx_omp_load_lib(); }), Each(expected));
            EXPECT_EQ(process().opens.size(), 1U);
        });
    }
}

TEST(use_of_usm, follows_the_first_character_of_the_setting_in_every_call) {
    constexpr const char* variable = "LIBOMPTARGET_OPENCL_USE_SVM";
    unsetenv(variable);
    EXPECT_EQ(qtx_tgt_ocl_use_usm(), 1);
    const std::string long_tail(19, 'x');
    for (const auto& [setting, expected] : std::vector<std::pair<std::string, int>>{
             {"1", 0}, {"0", 1}, {"10", 0}, {"", 1}, {" 1", 1}, {"1" + long_tail, 0}, {"x" + long_tail, 1}}) {
        setenv(variable, setting.c_str(), 1);
        EXPECT_EQ(qtx_tgt_ocl_use_usm(), expected) << setting;
    }
}
