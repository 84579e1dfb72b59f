#pragma once

#include <llvm/IR/Module.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace device_images {

/// What a kernel's image asks of a device, found in its code.
struct kernel_needs {
    bool fp64 = false;
    unsigned n_arguments = 0;
    std::uint64_t argument_bytes = 0; ///< size of the first argument, the kernel object
};

/// The kernels that \p module defines, in the order of their definitions.
std::vector<llvm::Function*> kernels_of(llvm::Module& module);

/// Takes the names of types from \p module, which images would carry for nobody.
void drop_type_names(llvm::Module& module);

/// A module with \p kernel, the functions that it calls, and nothing else.
std::unique_ptr<llvm::Module> extract(const llvm::Function& kernel);

/// The largest value, in bytes, that the functions of \p alone reduce over a group; 0 if they reduce none. To be asked
/// before the calls are replaced.
std::uint64_t group_value_bytes(const llvm::Module& alone);

/**
 * What \p alone, the module of one kernel, needs. Throws std::runtime_error for a kernel that stores to its
 * argument, which a driver may share between the work-groups.
 */
kernel_needs needs_of(const llvm::Module& alone);

} // namespace device_images
