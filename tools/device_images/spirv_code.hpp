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

} // namespace device_images
