#include "spirv_code.hpp"

#include <llvm/ADT/SmallVector.h>
#include <llvm/IR/LegacyPassManager.h>
#include <llvm/MC/TargetRegistry.h>
#include <llvm/Support/CommandLine.h>
#include <llvm/Support/raw_ostream.h>
#include <llvm/Target/TargetMachine.h>
#include <llvm/TargetParser/Triple.h>

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

} // namespace device_images
