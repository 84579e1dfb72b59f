#include "entry_list.hpp"
#include "fake_opencl.hpp"
#include "in_child.hpp"
#include "own_services.hpp"
#include "watched_loader.hpp"

#include <runtime/qtx_cl_entries.hpp>

#include <gmock/gmock.h>

#include <functional>
#include <tuple>

#include <dlfcn.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

template <typename... Arguments>
std::tuple<Arguments...> distinct_arguments(std::uint64_t first) {
    // Every byte of every argument counts: narrow types keep the low ones.
    const auto next = [&first] { return 0x1122334400000000 + (first += 0x01010101); };
    return std::tuple<Arguments...>{from_bits<Arguments>(next())...};
}

template <typename Result, typename... Arguments>
void expect_forwarding(const char* name, Result (*wrapper)(Arguments...), fake_opencl& library) {
    SCOPED_TRACE(name);
    static std::uint64_t salt = 0;
    const auto arguments = distinct_arguments<Arguments...>(++salt);
    library = {"nothing", {}, 0x5566778800000000 + salt};
    if constexpr (std::is_void_v<Result>) {
        std::apply(wrapper, arguments);
    } else {
        EXPECT_EQ(std::apply(wrapper, arguments), from_bits<Result>(library.result));
    }
    EXPECT_EQ(library.name, name);
    const auto sent = std::apply([](auto... each) { return std::vector{to_bits(each)...}; }, arguments);
    EXPECT_EQ(library.arguments, sent);
}

template <typename Result, typename... Arguments>
void expect_report(const test::entry& entry, Result (*wrapper)(Arguments...)) {
    SCOPED_TRACE(entry.name);
    test::forget_reports();
    const auto arguments = distinct_arguments<Arguments...>(1);
    if constexpr (std::is_void_v<Result>) {
        EXPECT_EQ(entry.without, "void");
        std::apply(wrapper, arguments);
    } else if constexpr (std::is_pointer_v<Result>) {
        EXPECT_EQ(entry.without, "null");
        EXPECT_EQ(std::apply(wrapper, arguments), nullptr);
    } else {
        EXPECT_EQ(entry.without, "int");
        EXPECT_EQ(std::apply(wrapper, arguments), 2);
    }
    EXPECT_THAT(test::reports(), ElementsAre("print 0 3 1 '" + entry.name + "'", "iface_exit 2"));
}

fake_opencl& state_of(const char* file) {
    void* const library = dlopen(file, RTLD_LAZY);
    return *reinterpret_cast<fake_opencl_state_t*>(dlsym(library, "fake_opencl_state"))();
}

/// The entries before the first one that \p file lacks work, the others are reported.
void expect_entries(const char* file, std::size_t n_resolved) {
    test::watched_loader::instance().files["libOpenCL.so.1"] = file;
    const auto entries = test::entry_list();
    fake_opencl none;
    fake_opencl& library = *file == '\0' ? none : state_of(file);
    std::size_t i = 0;
    const auto expect = [&](const char* name, auto* wrapper) {
        ASSERT_LT(i, entries.size());
        EXPECT_EQ(name, entries[i].name);
        if (i < n_resolved) {
            expect_forwarding(name, wrapper, library);
        } else {
            expect_report(entries[i], wrapper);
        }
        ++i;
    };
#define EXPECT_ENTRY(name, n_parameters) expect(#name, qtx_##name);
    QTX_CL_ENTRIES(EXPECT_ENTRY)
    EXPECT_EQ(i, 98U);
}

} // namespace

TEST(cl_wrappers, forward_every_argument_and_result_unchanged) {
    test::in_child([] {
        expect_entries(FAKE_OPENCL, 98);
        EXPECT_THAT(test::reports(), IsEmpty());
    });
}

TEST(cl_wrappers, report_each_entry_of_a_missing_library) {
    test::in_child([] {
        expect_entries("", 0);
        EXPECT_EQ(test::watched_loader::instance().opens().size(), 3U);
    });
}

TEST(cl_wrappers, work_up_to_the_first_name_that_the_library_lacks) {
    test::in_child([] { expect_entries(FAKE_OPENCL_WITHOUT_FIRST, 0); });
    test::in_child([] { expect_entries(FAKE_OPENCL_WITHOUT_97TH, 96); });
    test::in_child([] { expect_entries(FAKE_OPENCL_WITHOUT_LAST, 97); });
}
