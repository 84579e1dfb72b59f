#include "devices.hpp"

#include "../../platform/sycl/src/image_registry.hpp"

#include <iterator>

namespace {

using namespace sycl::detail;

constexpr unsigned char module[] = {1, 2, 3};
constexpr image_entry entries[] = {{"_ZTS4here", 16}};
constexpr image_property requirements[] = {{image_properties::aspects, nullptr, property_type::bytes, 0, 0}};
constexpr image_property_set sets[] = {
    {image_properties::requirement_set, std::begin(requirements), std::end(requirements)}};

device_image image_of_version(std::uint16_t version) {
    return {version,
            "spir64",
            "",
            "",
            std::begin(module),
            std::end(module),
            std::begin(entries),
            std::end(entries),
            std::begin(sets),
            std::end(sets)};
}

TEST(image_registry, knows_images_from_their_registration_to_their_removal) {
    const device_image image = image_of_version(1);
    const image_descriptor list{1, 1, &image, nullptr, nullptr};
    EXPECT_EQ(find_image("4here"), nullptr);
    __sycl_register_lib(&list);
    const auto found = find_image("4here");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->bytes(), std::size(module));
    EXPECT_TRUE(found->aspects.empty());
    __sycl_unregister_lib(&list);
    EXPECT_EQ(find_image("4here"), nullptr);
}

TEST(image_registry, ignores_lists_of_other_versions_and_says_so_for_a_kernel_that_is_missing) {
    const device_image images[] = {image_of_version(1), image_of_version(3)};
    for (const auto& [list, words] : {std::pair(image_descriptor{1, 2, images, nullptr, nullptr},
                                                "image has version 3, this runtime takes 1"),
                                      std::pair(image_descriptor{2, 1, images, nullptr, nullptr},
                                                "images has version 2, this runtime takes 1")}) {
        testing::internal::CaptureStderr();
        __sycl_register_lib(&list);
        EXPECT_NE(testing::internal::GetCapturedStderr().find(words), std::string::npos);
        test::expect_refused(sycl::errc::kernel_not_supported, words, [] { find_image("4here"); });
        test::expect_refused(sycl::errc::kernel_not_supported, "kernel here among",
                             [] { find_image("4here"); });
        __sycl_unregister_lib(&list);
        EXPECT_EQ(find_image("4here"), nullptr);
    }
}

} // namespace
