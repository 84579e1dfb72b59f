/**
 * Splits the device code of a translation unit into one SPIR-V module per kernel.
 *
 *     split_images CODE.bc IMAGES.spv INDEX.txt
 *
 * CODE.bc is what the device compiler made of the unit, not optimised yet. IMAGES.spv gets the modules, one
 * behind the other; INDEX.txt one line for each: entry name, offset, size, 1 if it computes in double, number
 * of arguments, bytes of the first argument.
 */
#include "isolated.hpp"
#include "kernels.hpp"
#include "optimise.hpp"
#include "spirv_code.hpp"

#include <sycl/detail/device_image.hpp>

#include <llvm/IR/LLVMContext.h>
#include <llvm/IRReader/IRReader.h>
#include <llvm/Support/SourceMgr.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>

namespace {

std::unique_ptr<llvm::Module> read_module(const char* path, llvm::LLVMContext& context) {
    llvm::SMDiagnostic error;
    auto module = llvm::parseIRFile(path, error, context);
    if (module == nullptr) {
        throw std::runtime_error(std::string(path) + ": " + error.getMessage().str());
    }
    return module;
}

/// The line of the index behind the place of an image.
std::string traits_of(const device_images::kernel_needs& needs) {
    return std::to_string(needs.fp64 ? 1 : 0) + ' ' + std::to_string(needs.n_arguments) + ' ' +
           std::to_string(needs.argument_bytes);
}

/// The traits of a kernel, a line end, and its image.
std::string make_image(const llvm::Function& kernel) {
    const auto alone = device_images::extract(kernel);
    const std::uint64_t value_bytes = device_images::group_value_bytes(*alone);
    device_images::optimise(*alone);
    const std::string traits = traits_of(device_images::needs_of(*alone));
    std::string module = device_images::spirv_of(*alone);
    if (value_bytes != 0) {
        device_images::add_source_extension(module, sycl::detail::image_properties::group_value_bytes +
                                                        std::to_string(value_bytes));
    }
    return traits + '\n' + module;
}

void split(const char* code, const char* images, const char* index) {
    llvm::LLVMContext context;
    const auto module = read_module(code, context);
    device_images::prepare_for_spirv(*module);
    device_images::drop_type_names(*module);
    std::ofstream image_file(images, std::ios::binary);
    std::ofstream index_file(index);
    std::size_t offset = 0;
    for (const llvm::Function* kernel : device_images::kernels_of(*module)) {
        const std::string made = device_images::run_isolated([&] { return make_image(*kernel); });
        const std::size_t head = made.find('\n') + 1;
        const std::size_t size = made.size() - head;
        image_file.write(made.data() + head, static_cast<std::streamsize>(size));
        index_file << kernel->getName().str() << ' ' << offset << ' ' << size << ' ' << made.substr(0, head);
        offset += size;
    }
    image_file.close();
    index_file.close();
    if (!image_file || !index_file) {
        throw std::runtime_error(std::string("cannot write ") + images + " and " + index);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s CODE.bc IMAGES.spv INDEX.txt\n", argv[0]);
        return 2;
    }
    try {
        split(argv[1], argv[2], argv[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
