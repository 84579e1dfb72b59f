// Every kernel has one image of its own, valid, with nothing in it that the kernel does not call, and says what it needs.
#include "registrations.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <spirv-tools/libspirv.hpp>

#include <cstring>
#include <cxxabi.h>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <sstream>

namespace {

using namespace test;
using sycl::detail::device_image;
using sycl::detail::image_property;
namespace properties = sycl::detail::image_properties;

constexpr std::size_t n_kernels = 816;

/// Functors whose kernels exist for the same memory and masks: over buffers for public forms only, over pointers
/// always, with 32-bit masks for offloaded tasks only.
struct group {
    const char* kernels; ///< prefix of the kernels' names
    bool buffers;
    bool tasks;
    std::vector<const char*> functors;
};

const std::vector<group> groups{
    {"minmax", true, false, {"min_max_func_fast"}},
    {"minmax", true, true, {"max_func_fast", "min_func_fast"}},
    {"basic",
     true,
     false,
     {"mean_func", "central_sum_func_fast", "central_moment_func_fast", "variation_func_fast",
      "skewness_func_fast", "kurtosis_func_fast"}},
    {"basic",
     true,
     true,
     {"raw_sum_func_fast", "raw_moment_func_fast", "central_sum_func_user_mean",
      "central_moment_func_user_mean", "variation_func_user_mean", "skewness_func_user_mean",
      "kurtosis_func_user_mean"}},
    {"basic",
     false,
     true,
     {"ex::central_sum_func_fast", "ex::central_moment_func_fast", "ex::variation_func_fast",
      "ex::skewness_func_fast", "ex::kurtosis_func_fast"}}};

/// The names of all kernels that the library must carry, by the rule over functors and flags.
std::set<std::string> expected_kernels() {
    std::set<std::string> names;
    for (const auto& [kernels, buffers, tasks, functors] : groups) {
        const auto add_block = [&, kernels = kernels](const std::string& functor, bool usm, bool index_64) {
            for (const char* type : {"float", "double"}) {
                for (const bool rows : {true, false}) {
                    for (const char* step : {"single_step<{}, {}, {}>", "first_step<{}, {}, {}>",
                                             "next_step<{}, {}, true, {}>", "next_step<{}, {}, false, {}>"}) {
                        const std::string space = "aurelo::qtx::stats::detail::gpu::";
                        const auto over = fmt::format("{}{}<{}, {}>", space, functor, type, usm);
                        names.insert(fmt::format("{}{}_kernel_", space, kernels) +
                                     fmt::format(fmt::runtime(step), over, rows, index_64));
                    }
                }
            }
        };
        for (const char* functor : functors) {
            add_block(functor, true, true);
            if (buffers) {
                add_block(functor, false, true);
            }
            if (tasks) {
                add_block(functor, true, false);
            }
        }
    }
    return names;
}

/// The name of the class that names a kernel, of the entry's: "_ZTS" and the mangled class.
std::string class_name(const char* entry) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(entry, nullptr, nullptr, &status), &std::free);
    const std::string prefix = "typeinfo name for ";
    const std::string name = status == 0 ? text.get() : entry;
    return name.rfind(prefix, 0) == 0 ? name.substr(prefix.size()) : name;
}

std::vector<std::uint32_t> words(const void* first, std::size_t bytes) {
    std::vector<std::uint32_t> result(bytes / sizeof(std::uint32_t));
    if (bytes) {
        std::memcpy(result.data(), first, bytes);
    }
    return result;
}

std::vector<std::uint32_t> words(const device_image& image) {
    return words(image.first, static_cast<std::size_t>(image.last - image.first));
}

/// What a module defines and needs.
struct spirv_module {
    std::vector<std::string> entry_points;
    std::set<std::uint32_t> functions; ///< ids
    std::set<std::uint32_t> reached;   ///< ids of those that an entry point calls, itself included
    std::set<std::uint32_t> float_widths;
    std::set<std::uint32_t> capabilities;
    std::size_t n_barriers = 0;
    std::string source_extension; ///< with what the kernel reduces

    explicit spirv_module(const std::vector<std::uint32_t>& code) {
        const std::unique_ptr<spv_context_t, decltype(&spvContextDestroy)> context(
            spvContextCreate(SPV_ENV_OPENCL_2_2), &spvContextDestroy);
        const auto read = [](void* module, const spv_parsed_instruction_t* each) {
            static_cast<spirv_module*>(module)->read(*each);
            return SPV_SUCCESS;
        };
        EXPECT_EQ(spvBinaryParse(context.get(), this, code.data(), code.size(), nullptr, read, nullptr),
                  SPV_SUCCESS);
        while (!to_visit_.empty()) {
            const auto id = to_visit_.back();
            to_visit_.pop_back();
            if (reached.insert(id).second) {
                to_visit_.insert(to_visit_.end(), calls_[id].begin(), calls_[id].end());
            }
        }
    }

private:
    void read(const spv_parsed_instruction_t& each) {
        enum : std::uint16_t {
            extension = 4,
            entry_point = 15,
            capability = 17,
            type_float = 22,
            function = 54,
            call = 57,
            barrier = 224
        };
        switch (each.opcode) {
        case extension:
            source_extension = reinterpret_cast<const char*>(&each.words[1]);
            break;
        case barrier:
            ++n_barriers;
            break;
        case entry_point:
            entry_points.emplace_back(reinterpret_cast<const char*>(&each.words[3]));
            to_visit_.push_back(each.words[2]);
            break;
        case capability:
            capabilities.insert(each.words[1]);
            break;
        case type_float:
            float_widths.insert(each.words[2]);
            break;
        case function:
            functions.insert(function_ = each.result_id);
            break;
        case call:
            calls_[function_].insert(each.words[3]);
            break;
        }
    }

    std::vector<std::uint32_t> to_visit_;
    std::uint32_t function_ = 0;
    std::map<std::uint32_t, std::set<std::uint32_t>> calls_;
};

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
        const spirv_module module(words(image));
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
        const auto& needs = found.at({properties::requirement_set, properties::aspects});
        const bool is_double = name.find("<double") != std::string::npos;
        EXPECT_EQ(words(needs.data, needs.size),
                  is_double ? std::vector<std::uint32_t>{6} : std::vector<std::uint32_t>{});
    });
}

/// Barriers of a kernel for each dimension. A reduction has three of them, a wait for a copy one.
std::size_t barriers_of(const std::string& name) {
    const auto has = [&](const char* text) { return name.find(text) != std::string::npos; };
    const std::string flags =
        name.substr(name.rfind(">, ") + 3); // row_layout, is_last of a next step, index_64
    const bool rows = flags.rfind("true", 0) == 0;
    const bool usm = has(", true>, ");
    const bool first = has("first_step"), next = has("next_step");
    const bool last = next && flags.find(", true, ") != std::string::npos;
    if (has("minmax")) {
        const std::size_t n = has("min_max_func") ? 2 : 1;
        const bool staged = !usm && (next || rows);
        return 3 * n + (staged ? n : 0);
    }
    const bool about_mean = has("user_mean");
    const bool all = has("kurtosis_func_fast") || has("raw_") || (has("central_") && !about_mean);
    const std::size_t sums = has("mean_func") || has("variation_func_user_mean")            ? 1
                             : all                                                          ? 4
                             : has("skewness_func_fast") || (has("central_") && about_mean) ? 3
                                                                                            : 2;
    const std::size_t weights = 2; // of the first dimension
    const std::size_t reductions = 3 * (sums + weights);
    if (next) {
        return sums + weights + reductions + (last ? 1 : 0);
    }
    return (rows ? 1 : 0) + 1 + reductions + (first ? 0 : 1);
}

TEST_F(images, synchronise_and_take_local_memory_for_nothing_but_reductions_and_tiles) {
    for_each([](const device_image& image, const std::string& name) {
        const spirv_module module(words(image));
        EXPECT_EQ(module.n_barriers, barriers_of(name));
        const bool is_double = name.find("<double") != std::string::npos;
        EXPECT_EQ(module.source_extension,
                  properties::group_value_bytes + std::string(is_double ? "8" : "4"));
    });
}

TEST_F(images, are_valid) {
    spvtools::SpirvTools tools(SPV_ENV_OPENCL_2_2);
    std::string message;
    tools.SetMessageConsumer(
        [&](spv_message_level_t, const char*, const spv_position_t&, const char* text) { message = text; });
    for_each([&](const device_image& image, const std::string&) {
        EXPECT_TRUE(tools.Validate(words(image))) << message;
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
