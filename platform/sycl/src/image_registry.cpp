#include "image_registry.hpp"

#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

namespace sycl::detail {

namespace {

struct registered_image {
    const image_descriptor* owner;
    std::shared_ptr<const kernel_image> image;
};

/// Lives to the end of the process: shared objects unregister behind every destructor.
struct registry {
    std::mutex lock;
    std::uint64_t next_id = 1;
    std::multimap<std::string, registered_image> by_entry;
};

registry& images() {
    static auto* const result = new registry;
    return *result;
}

/// The values of the property \p name of the set \p set, which are 32-bit numbers.
std::vector<std::uint32_t> numbers_of(const device_image& image, const char* set, const char* name) {
    std::vector<std::uint32_t> result;
    for (const auto* each = image.first_property_set; each != image.last_property_set; ++each) {
        for (const auto* property = each->first; property != each->last; ++property) {
            if (std::strcmp(each->name, set) == 0 && std::strcmp(property->name, name) == 0) {
                result.resize(property->size / sizeof(std::uint32_t));
                std::memcpy(result.data(), property->data, result.size() * sizeof(std::uint32_t));
            }
        }
    }
    return result;
}

kernel_image describe(const device_image& image, const image_entry& entry, std::uint64_t id) {
    kernel_image result{id, entry.name, entry.argument_bytes, image.first, image.last, image.compile_options,
                        {}};
    for (const auto value : numbers_of(image, image_properties::requirement_set, image_properties::aspects)) {
        result.aspects.push_back(static_cast<aspect>(value));
    }
    return result;
}

bool is_known(const image_descriptor& images) {
    if (images.version == image_descriptor_version) {
        return true;
    }
    std::fprintf(stderr, "device images are ignored: their list has version %u, this runtime knows %u\n",
                 unsigned{images.version}, unsigned{image_descriptor_version});
    return false;
}

} // namespace

std::shared_ptr<const kernel_image> find_image(const char* kernel) {
    auto& known = images();
    const std::lock_guard guard(known.lock);
    const auto found = known.by_entry.find(std::string("_ZTS") + kernel);
    return found == known.by_entry.end() ? nullptr : found->second.image;
}

std::size_t count_images() {
    auto& known = images();
    const std::lock_guard guard(known.lock);
    return known.by_entry.size();
}

} // namespace sycl::detail

using namespace sycl::detail;

void __sycl_register_lib(const image_descriptor* list) {
    if (!is_known(*list)) {
        return;
    }
    auto& known = images();
    const std::lock_guard guard(known.lock);
    for (const auto* image = list->images; image != list->images + list->n_images; ++image) {
        for (const auto* entry = image->first_entry; entry != image->last_entry; ++entry) {
            known.by_entry.emplace(entry->name,
                                   registered_image{list, std::make_shared<const kernel_image>(
                                                              describe(*image, *entry, known.next_id++))});
        }
    }
}

void __sycl_unregister_lib(const image_descriptor* list) {
    auto& known = images();
    const std::lock_guard guard(known.lock);
    std::erase_if(known.by_entry, [list](const auto& each) { return each.second.owner == list; });
}
