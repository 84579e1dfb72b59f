#pragma once

#include <llvm/IR/Module.h>

#include <llvm/Target/TargetMachine.h>

#include <memory>
#include <string>

namespace device_images {

/// The target.
std::unique_ptr<llvm::TargetMachine> make_machine();

/// Names the target of images in \p module. Call it once, before code is made of its parts.
void prepare_for_spirv(llvm::Module& module);

/// The SPIR-V of a prepared module, which is used up.
std::string spirv_of(llvm::Module& module);

/// Adds an OpSourceExtension to a module: a text that means nothing to drivers.
void add_source_extension(std::string& module, const std::string& text);

} // namespace device_images
