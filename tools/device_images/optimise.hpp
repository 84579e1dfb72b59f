#pragma once

#include <llvm/IR/Module.h>

namespace device_images {

/**
 * Inlines everything into the kernel of \p alone, and optimises the result as the compiler does at -O2.
 * Everything first: what is optimised before it is inlined may keep the addresses of its locals and
 * arguments.
 */
void optimise(llvm::Module& alone);

} // namespace device_images
