#include "image_registry.hpp"

#include "kernel_name.hpp"

#include <sycl/exception.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <string_view>

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
    std::map<const image_descriptor*, std::string> refused; ///< with the reasons

    std::shared_ptr<const kernel_image> image_of(const char* kernel) const {
        const auto found = by_entry.find(std::string("_ZTS") + kernel);
        return found == by_entry.end() ? nullptr : found->second.image;
    }
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
                const auto* const bytes = static_cast<const unsigned char*>(property->data);
                result.resize(property->size / sizeof(std::uint32_t));
                std::copy_n(bytes, result.size() * sizeof(std::uint32_t),
                            reinterpret_cast<unsigned char*>(result.data()));
            }
        }
    }
    return result;
}

/// What the tool that made the module found to be the largest value of its reductions; 0 if it says nothing.
std::uint64_t group_value_bytes_of(const unsigned char* first, const unsigned char* last) {
    constexpr std::size_t header_bytes = 20, word = sizeof(std::uint32_t);
    constexpr std::uint32_t source_extension = 4, function = 54, opcode_mask = 0xffff;
    const std::string_view prefix = image_properties::group_value_bytes;
    for (const unsigned char* at = first + header_bytes; last - at >= static_cast<std::ptrdiff_t>(word);) {
        std::uint32_t head;
        std::memcpy(&head, at, word);
        const std::size_t bytes = (head >> 16) * word;
        if (bytes == 0 || bytes > static_cast<std::size_t>(last - at) || (head & opcode_mask) == function) {
            break; // not a module, or behind what is looked for
        }
        const std::string_view text(reinterpret_cast<const char*>(at + word), bytes - word);
        if ((head & opcode_mask) == source_extension && text.substr(0, prefix.size()) == prefix) {
            return std::strtoull(text.data() + prefix.size(), nullptr, 10);
        }
        at += bytes;
    }
    return 0;
}

kernel_image describe(const device_image& image, const image_entry& entry, std::uint64_t id) {
    kernel_image result{
        id,          entry.name, entry.argument_bytes,  group_value_bytes_of(image.first, image.last),
        image.first, image.last, image.compile_options, {}};
    for (const auto value : numbers_of(image, image_properties::requirement_set, image_properties::aspects)) {
        result.aspects.push_back(static_cast<aspect>(value));
    }
    return result;
}

/// Why the list cannot be read; empty if it can. A record of another version may have another size, so that none
/// behind it is looked at.
std::string refusal_of(const image_descriptor& list) {
    const auto wrong = [](const char* what, unsigned found, unsigned supported) {
        return std::string(what) + " has version " + std::to_string(found) + ", this runtime takes " +
               std::to_string(supported);
    };
    if (list.version != image_descriptor_version) {
        return wrong("a list of device images", list.version, image_descriptor_version);
    }
    for (std::size_t i = 0; i < list.n_images; ++i) {
        if (list.images[i].version != device_image_version) {
            return wrong("a device image", list.images[i].version, device_image_version);
        }
    }
    return {};
}

void forget(const image_descriptor* list) {
    std::erase_if(images().by_entry, [list](const auto& each) { return each.second.owner == list; });
    images().refused.erase(list);
}

void remember(const image_descriptor* list) {
    auto& known = images();
    if (auto reason = refusal_of(*list); !reason.empty()) {
        std::fprintf(stderr, "sycl: a library's device images are ignored: %s\n", reason.c_str());
        known.refused.emplace(list, std::move(reason));
        return;
    }
    for (const auto* image = list->images; image != list->images + list->n_images; ++image) {
        for (const auto* entry = image->first_entry; entry != image->last_entry; ++entry) {
            known.by_entry.emplace(entry->name,
                                   registered_image{list, std::make_shared<const kernel_image>(
                                                              describe(*image, *entry, known.next_id++))});
        }
    }
}

} // namespace

std::shared_ptr<const kernel_image> find_image(const char* kernel) {
    auto& known = images();
    const std::lock_guard guard(known.lock);
    if (auto image = known.image_of(kernel)) {
        return image;
    }
    if (!known.refused.empty()) {
        throw exception(errc::kernel_not_supported,
                        "there is no device image of kernel " + readable_name(kernel) +
                            " among those that could be read: " + known.refused.begin()->second);
    }
    return nullptr;
}

std::size_t reduced_value_bytes(const char* kernel) {
    auto& known = images();
    const std::lock_guard guard(known.lock);
    const auto image = known.image_of(kernel);
    return image == nullptr ? 0 : image->group_value_bytes;
}

std::size_t count_images() {
    auto& known = images();
    const std::lock_guard guard(known.lock);
    return known.by_entry.size();
}

} // namespace sycl::detail

using namespace sycl::detail;

// Initialisers of libraries call this, where an exception would end the process.
void __sycl_register_lib(const image_descriptor* list) {
    try {
        const std::lock_guard guard(images().lock);
        try {
            remember(list);
        } catch (...) {
            forget(list);
            throw;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sycl: a library's device images are ignored: %s\n", error.what());
    }
}

void __sycl_unregister_lib(const image_descriptor* list) {
    const std::lock_guard guard(images().lock);
    forget(list);
}
