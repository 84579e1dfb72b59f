#include "spirv_module.hpp"

#include <cstring>
#include <map>
#include <span>
#include <stdexcept>

namespace test {

namespace {

enum opcode : std::uint32_t {
    op_entry_point = 15,
    op_capability = 17,
    op_type_float = 22,
    op_function = 54,
    op_function_call = 57
};
constexpr std::uint32_t magic = 0x07230203;
constexpr std::size_t header_words = 5;

class reader {
public:
    void instruction(std::span<const std::uint32_t> words) {
        switch (words[0] & 0xFFFF) {
        case op_entry_point:
            module.entry_points.emplace_back(reinterpret_cast<const char*>(&words[3]));
            entries_.push_back(words[2]);
            break;
        case op_capability:
            module.capabilities.insert(words[1]);
            break;
        case op_type_float:
            module.float_widths.insert(words[2]);
            break;
        case op_function:
            function_ = words[2];
            module.functions.insert(function_);
            break;
        case op_function_call:
            calls_[function_].insert(words[3]);
            break;
        }
    }

    void follow_calls() {
        while (!entries_.empty()) {
            const auto id = entries_.back();
            entries_.pop_back();
            if (module.reached.insert(id).second) {
                entries_.insert(entries_.end(), calls_[id].begin(), calls_[id].end());
            }
        }
    }

    spirv_module module;

private:
    std::vector<std::uint32_t> entries_;
    std::uint32_t function_ = 0;
    std::map<std::uint32_t, std::set<std::uint32_t>> calls_;
};

} // namespace

spirv_module parse_spirv(const unsigned char* first, const unsigned char* last) {
    std::vector<std::uint32_t> words(static_cast<std::size_t>(last - first) / sizeof(std::uint32_t));
    std::memcpy(words.data(), first, words.size() * sizeof(std::uint32_t));
    if (words.size() < header_words || words[0] != magic) {
        throw std::runtime_error("no SPIR-V module");
    }
    reader read;
    for (std::size_t at = header_words; at < words.size();) {
        const std::size_t length = words[at] >> 16;
        if (length == 0 || at + length > words.size()) {
            throw std::runtime_error("an instruction of " + std::to_string(length) + " words at word " +
                                     std::to_string(at));
        }
        read.instruction(std::span(words).subspan(at, length));
        at += length;
    }
    read.follow_calls();
    return read.module;
}

} // namespace test
