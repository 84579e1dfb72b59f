#include "platform.hpp"

#include "device_desc.hpp"
#include "error.hpp"

#include <cstdlib>

_bs_platform_handle_t& _bs_platform_handle_t::instance() {
    // Never destroyed: static objects of others may call in while the process exits. The variable is read
    // once, so that a failure is final.
    struct outcome {
        std::unique_ptr<_bs_platform_handle_t> platform;
        basalt::failure why;
    };
    static auto* const first = [] {
        auto made = std::make_unique<outcome>();
        try {
            made->platform.reset(new _bs_platform_handle_t);
        } catch (const basalt::error& e) {
            made->why = {e.status(), e.what()};
        }
        return made.release();
    }();
    if (first->why) {
        throw basalt::error(first->why.status, first->why.message);
    }
    return *first->platform;
}

_bs_platform_handle_t::_bs_platform_handle_t() {
    const char* const list = std::getenv("BASALT_DEVICES");
    if (list == nullptr || *list == '\0') {
        add(basalt::default_desc(), true);
        return;
    }
    for (const bs_device_desc_t& desc : basalt::parse_devices(list)) {
        add(desc, true);
    }
}

std::size_t _bs_platform_handle_t::n_devices() const {
    const std::lock_guard lock(mutex_);
    return listed_.size();
}

bs_device_handle_t _bs_platform_handle_t::device(std::size_t index) const {
    const std::lock_guard lock(mutex_);
    if (index >= listed_.size()) {
        basalt::throw_invalid("device index " + std::to_string(index) +
                              " is not below the number of devices, " + std::to_string(listed_.size()));
    }
    return listed_[index].get();
}

bs_device_handle_t _bs_platform_handle_t::add(const bs_device_desc_t& desc, bool listed) {
    auto made = std::make_unique<basalt::device>(this, basalt::completed(desc));
    const std::lock_guard lock(mutex_);
    return (listed ? listed_ : hidden_).emplace_back(std::move(made)).get();
}
