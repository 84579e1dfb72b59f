#include "in_child.hpp"
#include "own_services.hpp"
#include "threads.hpp"
#include "watched_loader.hpp"

#include <runtime/qtx_omp_wrappers.hpp>

#include <gmock/gmock.h>

#include <cstdlib>
#include <optional>

#include <dlfcn.h>

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

test::watched_loader& loader() {
    return test::watched_loader::instance();
}

void use_library(const char* file) {
    loader().files["libomptarget.so"] = file;
}

int usm_with(const std::optional<std::string>& setting) {
    constexpr const char* variable = "LIBOMPTARGET_OPENCL_USE_SVM";
    if (setting.has_value()) {
        setenv(variable, setting->c_str(), 1);
    } else {
        unsetenv(variable);
    }
    return qtx_tgt_ocl_use_usm();
}

} // namespace

TEST(omp_loader, resolves_four_names_with_one_open_and_forwards) {
    test::in_child([] {
        use_library(FAKE_OMPTARGET);
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
        EXPECT_THAT(loader().opens(),
                    ElementsAre(test::open_call{"libomptarget.so", RTLD_LAZY | RTLD_GLOBAL}));
        EXPECT_THAT(loader().looked_up(), ElementsAre("__tgt_get_interop_property", "omp_get_interop_int",
                                                      "omp_get_interop_ptr", "omp_get_interop_str"));
        EXPECT_THAT(test::reports(), IsEmpty());
    });
}

TEST(omp_loader, without_the_library_tries_once_and_reports_every_use) {
    test::in_child([] {
        use_library("");
        int code = 0;
        void* value = nullptr;
        EXPECT_EQ(qtx_omp_load_lib(), -1);
        use_library(FAKE_OMPTARGET);
        EXPECT_EQ(qtx_omp_load_lib(), -1) << "a failure is final";
        EXPECT_EQ(qtx_tgt_get_interop_property(nullptr, 2, &value), 1);
        EXPECT_EQ(qtx_omp_get_interop_int(nullptr, -1, &code), 0);
        EXPECT_EQ(qtx_omp_get_interop_ptr(nullptr, 6, &code), nullptr);
        EXPECT_EQ(qtx_omp_get_interop_str(nullptr, 2, &code), nullptr);
        EXPECT_EQ(loader().opens().size(), 1U);
        EXPECT_THAT(test::reports(), ElementsAre("print 0 3 1 '__tgt_get_interop_property'", "exit 2",
                                                 "print 0 3 1 'omp_get_interop_int'", "exit 2",
                                                 "print 0 3 1 'omp_get_interop_ptr'", "exit 2",
                                                 "print 0 3 1 'omp_get_interop_str'", "exit 2"));
    });
}

TEST(omp_loader, a_library_that_lacks_the_last_name_fails_but_keeps_the_others) {
    test::in_child([] {
        use_library(FAKE_OMPTARGET_WITHOUT_STR);
        char object[8];
        int code = 0;
        void* value = nullptr;
        EXPECT_EQ(qtx_omp_load_lib(), -1);
        EXPECT_EQ(qtx_tgt_get_interop_property(object, 1, &value), 7);
        EXPECT_THAT(test::reports(), IsEmpty());
        EXPECT_EQ(qtx_omp_get_interop_str(object, 2, &code), nullptr);
        EXPECT_THAT(test::reports(), ElementsAre("print 0 3 1 'omp_get_interop_str'", "exit 2"));
    });
}

TEST(omp_loader, thirty_two_threads_make_one_attempt_and_get_one_result) {
    for (const int expected : {0, -1}) {
        test::in_child([expected] {
            use_library(expected == 0 ? FAKE_OMPTARGET : "");
            EXPECT_THAT(test::on_threads(32, [](std::size_t) { return qtx_omp_load_lib(); }), Each(expected));
            EXPECT_EQ(loader().opens().size(), 1U);
        });
    }
}

TEST(use_of_usm, follows_the_first_character_of_the_setting_in_every_call) {
    EXPECT_EQ(usm_with(std::nullopt), 1);
    EXPECT_EQ(usm_with("1"), 0);
    EXPECT_EQ(usm_with("0"), 1);
    EXPECT_EQ(usm_with("10"), 0);
    EXPECT_EQ(usm_with(""), 1);
    EXPECT_EQ(usm_with(" 1"), 1);
    EXPECT_EQ(usm_with("1" + std::string(19, 'x')), 0);
    EXPECT_EQ(usm_with("x" + std::string(19, '1')), 1);
    EXPECT_EQ(usm_with(std::nullopt), 1);
}
