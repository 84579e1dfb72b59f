#include "spirv_words.hpp"

#include <spirv-tools/libspirv.hpp>
#include <spirv/unified1/spirv.hpp>

#include <cstring>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace sycl::translator {

namespace {

constexpr std::size_t header_words = 5;

/// Calls `visit(opcode, first word, number of words)` for each instruction of a valid module.
template <typename Visit>
void for_each_instruction(const words& module, const Visit& visit) {
    for (std::size_t at = header_words; at < module.size(); at += module[at] >> spv::WordCountShift) {
        visit(static_cast<spv::Op>(module[at] & spv::OpCodeMask), &module[at],
              module[at] >> spv::WordCountShift);
    }
}

/// The width in bits of the module's scalar types, by their ids.
std::unordered_map<std::uint32_t, std::uint32_t> scalar_widths(const words& module) {
    std::unordered_map<std::uint32_t, std::uint32_t> result;
    for_each_instruction(module, [&](spv::Op opcode, const std::uint32_t* word, std::size_t) {
        if (opcode == spv::OpTypeInt || opcode == spv::OpTypeFloat) {
            result[word[1]] = word[2];
        }
    });
    return result;
}

} // namespace

words checked_words(const unsigned char* image, std::size_t n_bytes) {
    if (n_bytes % sizeof(std::uint32_t) != 0) {
        throw std::runtime_error("a module of " + std::to_string(n_bytes) + " bytes is no SPIR-V");
    }
    words result(n_bytes / sizeof(std::uint32_t));
    std::memcpy(result.data(), image, n_bytes);
    std::string why = "not valid";
    spvtools::SpirvTools tools(SPV_ENV_OPENCL_2_2);
    tools.SetMessageConsumer(
        [&](spv_message_level_t, const char*, const spv_position_t& position, const char* message) {
            why = "word " + std::to_string(position.index) + ": " + message;
        });
    if (!tools.Validate(result)) {
        throw std::runtime_error("the module is no valid SPIR-V: " + why);
    }
    return result;
}

words with_plain_zeros(const words& module) {
    const auto widths = scalar_widths(module);
    words result(module.begin(), module.begin() + header_words);
    result.reserve(module.size());
    for_each_instruction(module, [&](spv::Op opcode, const std::uint32_t* word, std::size_t n_words) {
        const auto width = opcode == spv::OpConstantNull ? widths.find(word[1]) : widths.end();
        if (width == widths.end()) {
            result.insert(result.end(), word, word + n_words);
            return;
        }
        const std::uint32_t n_zeros = width->second > 32 ? 2 : 1;
        result.push_back((3 + n_zeros) << spv::WordCountShift | spv::OpConstant);
        result.insert(result.end(), {word[1], word[2]});
        result.insert(result.end(), n_zeros, 0);
    });
    return result;
}

} // namespace sycl::translator
