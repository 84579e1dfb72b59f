#pragma once

#include <llvm/IR/Module.h>

namespace sycl::translator {

/**
 * Rewrites the kernels of \p module so that the first work-item of a group does the work of all, without barriers.
 *
 * The drivers that take bitcode run the work-items of a group in turn. They do the same, but some make wrong code or
 * endless loops of barriers under conditions, even under those that are the same for the whole group. Here each barrier
 * becomes a point at which a work-item pauses; a loop runs every work-item from one of them to the next. All work-items
 * of a group pause at the same barriers, as the language demands. What a work-item keeps across them stands in the
 * kernel's block of local memory for reductions, before those.
 *
 * \return bytes that this takes for each work-item
 */
std::uint64_t run_groups_in_loops(llvm::Module& module);

} // namespace sycl::translator
