#include "group_copies.hpp"

#include <algorithm>
#include <cstring>

namespace basalt {

namespace {

void perform(const group_copies::copy& what) {
    const sanitizer::kernel_scope visible;
    auto* target = static_cast<std::byte*>(what.target);
    const auto* source = static_cast<const std::byte*>(what.source);
    if (what.target_stride == 1 && what.source_stride == 1) {
        if (what.count != 0) {
            std::memcpy(target, source, what.bytes * what.count);
        }
        return;
    }
    for (std::size_t i = 0; i < what.count; ++i) {
        std::memcpy(target + i * what.target_stride * what.bytes,
                    source + i * what.source_stride * what.bytes, what.bytes);
    }
}

} // namespace

void group_copies::reset(std::size_t local_size) {
    if (used_) {
        used_ = false;
        records_.clear();
        first_number_ = 0;
    }
    begun_.resize(std::max(begun_.size(), local_size));
}

bool group_copies::begin(std::size_t local_id, const copy& what, std::uint64_t& number) {
    if (!used_) {
        used_ = true;
        std::fill(begun_.begin(), begun_.end(), 0);
    }
    number = begun_[local_id]++;
    const std::size_t index = static_cast<std::size_t>(number - first_number_);
    if (index == records_.size()) {
        records_.push_back({what, false});
    }
    return records_[index].what == what;
}

bool group_copies::complete(std::uint64_t number) {
    if (number < first_number_) {
        done_.acquire();
        return true;
    }
    const std::size_t index = static_cast<std::size_t>(number - first_number_);
    if (index >= records_.size()) {
        return false;
    }
    if (!records_[index].done) {
        perform(records_[index].what);
        records_[index].done = true;
        done_.release();
    }
    done_.acquire();
    return true;
}

void group_copies::settle() {
    if (records_.empty() ||
        !std::all_of(records_.begin(), records_.end(), [](const record& r) { return r.done; })) {
        return;
    }
    first_number_ += records_.size();
    records_.clear();
}

} // namespace basalt
