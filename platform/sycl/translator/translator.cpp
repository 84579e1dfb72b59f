#include "translator.h"

#include "spirv_words.hpp"
#include "work_group_loops.hpp"

#include <LLVMSPIRVLib.h>
#include <LLVMSPIRVOpts.h>
#include <llvm/Bitcode/BitcodeWriter.h>
#include <llvm/IR/LLVMContext.h>
#include <llvm/IR/Module.h>
#include <llvm/Support/raw_ostream.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace sycl::translator {

namespace {

std::string bitcode_of(const words& module, std::size_t& bytes_per_item) {
    std::istringstream stream(
        std::string(reinterpret_cast<const char*>(module.data()), module.size() * sizeof module[0]));
    SPIRV::TranslatorOpts options;
    options.enableAllExtensions();
    options.setDesiredBIsRepresentation(SPIRV::BIsRepresentation::OpenCL20);
    llvm::LLVMContext context;
    llvm::Module* made = nullptr;
    std::string error;
    if (!llvm::readSpirv(context, options, stream, made, error)) {
        throw std::runtime_error("the SPIR-V module cannot be translated: " + error);
    }
    const std::unique_ptr<llvm::Module> owner(made);
    bytes_per_item = run_groups_in_loops(*made);
    std::string result;
    llvm::raw_string_ostream out(result);
    llvm::WriteBitcodeToFile(*made, out);
    return result;
}

} // namespace
} // namespace sycl::translator

int sycl_translate_image(const unsigned char* image, size_t n_bytes, sycl_translation_sink result,
                         sycl_translation_sink error, void* user, size_t* bytes_per_item) {
    using namespace sycl::translator;
    try {
        const std::string bitcode =
            bitcode_of(with_plain_zeros(checked_words(image, n_bytes)), *bytes_per_item);
        result(user, bitcode.data(), bitcode.size());
        return 0;
    } catch (const std::exception& reason) {
        const std::string what = reason.what();
        error(user, what.data(), what.size());
        return 1;
    }
}
