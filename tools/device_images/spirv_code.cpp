#include "spirv_code.hpp"

#include <llvm/ADT/SmallVector.h>
#include <llvm/IR/LegacyPassManager.h>
#include <llvm/MC/TargetRegistry.h>
#include <llvm/Support/CommandLine.h>
#include <llvm/Support/raw_ostream.h>
#include <llvm/Target/TargetMachine.h>
#include <llvm/TargetParser/Triple.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>

extern "C" {
void LLVMInitializeSPIRVTarget();
void LLVMInitializeSPIRVTargetInfo();
void LLVMInitializeSPIRVTargetMC();
void LLVMInitializeSPIRVAsmPrinter();
}

namespace device_images {

namespace {

// Of the SPIR-V specification: where a module's debug instructions begin.
constexpr std::size_t header_bytes = 20;
constexpr std::uint32_t source_extension = 4;
constexpr std::uint32_t extension = 10, import = 11, memory_model = 14, entry_point = 15, execution_mode = 16,
                        capability = 17, execution_mode_id = 331;

bool stands_before_debug_instructions(std::uint32_t opcode) {
    constexpr std::uint32_t those[] = {extension,      import,     memory_model,     entry_point,
                                       execution_mode, capability, execution_mode_id};
    return std::find(std::begin(those), std::end(those), opcode) != std::end(those);
}

const char* const target_name = "spirv64v1.1-unknown-unknown";

const llvm::Target& target() {
    static const bool initialised = [] {
        LLVMInitializeSPIRVTargetInfo();
        LLVMInitializeSPIRVTarget();
        LLVMInitializeSPIRVTargetMC();
        LLVMInitializeSPIRVAsmPrinter();
        // That pass makes instructions with carry, which the translator to SPIR bitcode does not know.
        const char* const options[] = {"split_images", "-disable-cgp"};
        return llvm::cl::ParseCommandLineOptions(std::size(options), options);
    }();
    std::string error;
    const llvm::Target* const found = llvm::TargetRegistry::lookupTarget(llvm::Triple(target_name), error);
    if (!initialised || found == nullptr) {
        throw std::runtime_error(error);
    }
    return *found;
}

} // namespace

std::unique_ptr<llvm::TargetMachine> make_machine() {
    return std::unique_ptr<llvm::TargetMachine>(
        target().createTargetMachine(llvm::Triple(target_name), "", "", llvm::TargetOptions(), std::nullopt));
}

void prepare_for_spirv(llvm::Module& module) {
    module.setTargetTriple(llvm::Triple(target_name));
    module.setDataLayout(make_machine()->createDataLayout());
}

std::string spirv_of(llvm::Module& module) {
    llvm::SmallVector<char, 0> bytes;
    llvm::raw_svector_ostream stream(bytes);
    const auto machine = make_machine();
    llvm::legacy::PassManager passes;
    if (machine->addPassesToEmitFile(passes, stream, nullptr, llvm::CodeGenFileType::ObjectFile)) {
        throw std::runtime_error("the SPIR-V target makes no object files");
    }
    passes.run(module);
    return std::string(bytes.begin(), bytes.end());
}

void add_source_extension(std::string& module, const std::string& text) {
    constexpr std::size_t word = sizeof(std::uint32_t);
    const std::size_t n_words = 1 + text.size() / word + 1; // the text ends with at least one zero
    std::string instruction(n_words * word, '\0');
    const std::uint32_t head = static_cast<std::uint32_t>(n_words) << 16 | source_extension;
    std::memcpy(instruction.data(), &head, word);
    std::memcpy(instruction.data() + word, text.data(), text.size());
    std::size_t at = header_bytes;
    const auto head_at = [&module](std::size_t place) {
        std::uint32_t result;
        std::memcpy(&result, module.data() + place, sizeof result);
        return result;
    };
    while (stands_before_debug_instructions(head_at(at) & 0xffff)) {
        at += (head_at(at) >> 16) * word;
    }
    module.insert(at, instruction);
}

} // namespace device_images
