#include "entry_list.hpp"
#include "fake_opencl.hpp"
#include "in_child.hpp"
#include "watched_process.hpp"

#include <runtime/qtx_cl_entries.hpp>
#include <runtime/qtx_cl_init.hpp>

#include <gmock/gmock.h>

#include <tuple>

#include <dlfcn.h>

using test::process;
using testing::ElementsAre;

namespace {

template <typename... Arguments>
std::tuple<Arguments...> distinct_arguments(std::uint64_t first) {
    // Every byte of every argument counts: narrow types keep the low ones.
    const auto next = [&first] { return 0x1122334400000000 + (first += 0x01010101); };
    return std::tuple<Arguments...>{from_bits<Arguments>(next())...};
}

/// Calls \p wrapper, which has to hand arguments and result through unchanged.
template <typename Result, typename... Arguments>
void expect_forwarding(const char* name, Result (*wrapper)(Arguments...), fake_opencl& library) {
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
    EXPECT_THAT(process().reports, testing::IsEmpty());
}

/// Calls \p wrapper, whose entry is missing.
template <typename Result, typename... Arguments>
void expect_report(const std::string& name, Result (*wrapper)(Arguments...)) {
    process().reports.clear();
    const auto arguments = distinct_arguments<Arguments...>(1);
    if constexpr (std::is_void_v<Result>) {
        std::apply(wrapper, arguments);
    } else {
        EXPECT_EQ(to_bits(std::apply(wrapper, arguments)), std::is_pointer_v<Result> ? 0U : 2U);
    }
    EXPECT_THAT(process().reports, ElementsAre("print 0 3 1 '" + name + "'", "iface_exit 2"));
}

fake_opencl& state_of(const char* file) {
    void* const library = dlopen(file, RTLD_LAZY);
    return *reinterpret_cast<fake_opencl_state_t*>(dlsym(library, "fake_opencl_state"))();
}

/// The entries before the first one that \p file lacks work, the others are reported.
void expect_entries(const char* file, std::size_t n_resolved) {
    process().files["libOpenCL.so.1"] = file;
    const auto names = test::entry_list();
    fake_opencl none;
    fake_opencl& library = *file == '\0' ? none : state_of(file);
    process().looked_up.clear();
    process().opens.clear();
    std::size_t i = 0;
    const auto expect = [&](const char* name, auto* wrapper) {
        SCOPED_TRACE(name);
        ASSERT_LT(i, names.size());
        EXPECT_EQ(name, names[i]);
        i++ < n_resolved ? expect_forwarding(name, wrapper, library) : expect_report(name, wrapper);
    };
#define EXPECT_ENTRY(name, n_parameters) expect(#name, qtx_##name);
    QTX_CL_ENTRIES(EXPECT_ENTRY)
    EXPECT_EQ(i, 98U);
    EXPECT_EQ(qtx_cl_load_lib(), n_resolved == 98U ? 0 : -1);
    EXPECT_EQ(process().opens.size(), *file == '\0' ? 3U : 1U) << "another open cannot help against a gap";
}

} // namespace

TEST(cl_wrappers, forward_every_argument_and_result_unchanged) {
    test::in_child([] { expect_entries(FAKE_OPENCL, 98); });
}

TEST(cl_wrappers, report_each_entry_of_a_missing_library) {
    test::in_child([] { expect_entries("", 0); });
}

TEST(cl_wrappers, work_up_to_the_first_name_that_the_library_lacks) {
    test::in_child([] {
        expect_entries(FAKE_OPENCL_WITHOUT_97TH, 96);
        EXPECT_EQ(process().looked_up.size(), 97U) << "nothing is looked for after a gap";
    });
}
