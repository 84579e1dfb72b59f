// Every kernel has one image of its own, valid, with nothing in it that the kernel does not call, and says what it needs.
#include "expected_kernels.hpp"
#include "registrations.hpp"
#include "spirv_module.hpp"

#include <sycl/sycl.hpp>

#include <gmock/gmock.h>
#include <spirv-tools/libspirv.hpp>

#include <cstring>
#include <cxxabi.h>
#include <fstream>
#include <map>
#include <memory>
#include <span>
#include <sstream>

namespace {

using namespace test;
using sycl::detail::device_image;
using sycl::detail::image_property;
namespace properties = sycl::detail::image_properties;

constexpr std::size_t n_kernels = 816;

/// The name of the class that names a kernel, of the entry's: "_ZTS" and the mangled class.
std::string class_name(const char* entry) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(entry, nullptr, nullptr, &status), &std::free);
    const std::string prefix = "typeinfo name for ";
    const std::string name = status == 0 ? text.get() : entry;
    return name.rfind(prefix, 0) == 0 ? name.substr(prefix.size()) : name;
}

std::vector<std::uint32_t> words(const image_property& property) {
    std::vector<std::uint32_t> result(property.size / sizeof(std::uint32_t));
    if (property.size) {
        std::memcpy(result.data(), property.data, property.size);
    }
    return result;
}

/// Set and property names with the properties themselves.
std::map<std::pair<std::string, std::string>, image_property> properties_of(const device_image& image) {
    std::map<std::pair<std::string, std::string>, image_property> result;
    for (const auto& set : std::span(image.first_property_set, image.last_property_set)) {
        for (const auto& each : std::span(set.first, set.last)) {
            result.emplace(std::pair(set.name, each.name), each);
        }
    }
    return result;
}

class images : public testing::Test {
protected:
    /// Calls check(image, kernel's class name) for each.
    template <class Check>
    void for_each(Check check) const {
        for (const auto& image : std::span(described().images, described().n_images)) {
            const auto name = class_name(image.first_entry->name);
            SCOPED_TRACE(name);
            check(image, name);
        }
    }
    const descriptor& described() const { return *watched().made.back(); }

private:
    loaded_library library_;
};

TEST_F(images, are_one_for_every_kernel_of_the_rule) {
    ASSERT_EQ(described().version, 1);
    ASSERT_EQ(described().n_images, n_kernels);
    EXPECT_EQ(described().first_host_entry, described().last_host_entry);
    std::multiset<std::string> found;
    for_each([&](const device_image& image, const std::string& name) {
        EXPECT_EQ(image.last_entry - image.first_entry, 1);
        EXPECT_GT(image.first_entry->argument_bytes, 0U);
        found.insert(name);
    });
    const auto expected = expected_kernels();
    ASSERT_EQ(expected.size(), n_kernels);
    EXPECT_THAT(found, testing::ElementsAreArray(expected));
}

TEST_F(images, hold_their_kernel_and_what_it_calls) {
    for_each([](const device_image& image, const std::string& name) {
        EXPECT_STREQ(image.target, "spir64");
        const auto module = parse_spirv(image.first, image.last);
        EXPECT_THAT(module.entry_points, testing::ElementsAre(image.first_entry->name));
        EXPECT_EQ(module.functions, module.reached);
        const std::uint32_t width = name.find("<double") == std::string::npos ? 32 : 64;
        EXPECT_THAT(module.float_widths, testing::ElementsAre(width));
        constexpr std::uint32_t float64 = 10;
        EXPECT_EQ(module.capabilities.count(float64), width == 64 ? 1U : 0U);
    });
}

TEST_F(images, say_what_they_need) {
    const std::string options = described().images->compile_options;
    EXPECT_NE(options, "");
    for_each([&](const device_image& image, const std::string& name) {
        EXPECT_EQ(image.compile_options, options);
        EXPECT_STREQ(image.link_options, "");
        const auto found = properties_of(image);
        ASSERT_EQ(found.size(), 4U);
        EXPECT_EQ(found.at({properties::device_library_set, properties::device_library_mask}).number, 0U);
        EXPECT_EQ(found.at({properties::miscellaneous_set, properties::optimisation_level}).number, 2U);
        EXPECT_EQ(found.count({properties::dropped_argument_set, image.first_entry->name}), 1U);
        const auto aspects = words(found.at({properties::requirement_set, properties::aspects}));
        const bool is_double = name.find("<double") != std::string::npos;
        EXPECT_EQ(aspects, is_double ? std::vector<std::uint32_t>{6} : std::vector<std::uint32_t>{});
    });
}

TEST_F(images, are_valid) {
    spvtools::SpirvTools tools(SPV_ENV_OPENCL_2_2);
    std::string message;
    tools.SetMessageConsumer(
        [&](spv_message_level_t, const char*, const spv_position_t&, const char* text) { message = text; });
    for_each([&](const device_image& image, const std::string&) {
        std::vector<std::uint32_t> module(static_cast<std::size_t>(image.last - image.first) /
                                          sizeof(std::uint32_t));
        std::memcpy(module.data(), image.first, module.size() * sizeof(std::uint32_t));
        EXPECT_TRUE(tools.Validate(module)) << message;
    });
}

TEST_F(images, lie_in_read_only_pages_of_the_library) {
    std::ifstream maps("/proc/self/maps");
    std::vector<std::pair<std::uintptr_t, std::uintptr_t>> read_only;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream in(line);
        std::uintptr_t first = 0;
        std::uintptr_t last = 0;
        char dash = 0;
        std::string access;
        in >> std::hex >> first >> dash >> last >> access;
        if (access == "r--p" && line.find("libqtx_sycl_stats") != std::string::npos) {
            read_only.emplace_back(first, last);
        }
    }
    for_each([&](const device_image& image, const std::string&) {
        const auto first = reinterpret_cast<std::uintptr_t>(image.first);
        const auto last = reinterpret_cast<std::uintptr_t>(image.last);
        EXPECT_TRUE(std::any_of(read_only.begin(), read_only.end(), [=](const auto& range) {
            return range.first <= first && last <= range.second;
        }));
    });
}

} // namespace
