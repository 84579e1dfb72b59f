#include "optimise.hpp"

#include "kernels.hpp"
#include "spirv_code.hpp"

#include <llvm/Analysis/CGSCCPassManager.h>
#include <llvm/Analysis/LoopAnalysisManager.h>
#include <llvm/IR/IRBuilder.h>
#include <llvm/Passes/PassBuilder.h>
#include <llvm/Transforms/IPO/AlwaysInliner.h>
#include <llvm/Transforms/IPO/GlobalDCE.h>

namespace device_images {

namespace {

void inline_all_but_kernels(llvm::Module& module) {
    for (llvm::Function& each : module) {
        if (!each.isDeclaration() && each.getCallingConv() != llvm::CallingConv::SPIR_KERNEL) {
            each.setLinkage(llvm::GlobalValue::InternalLinkage);
            each.setComdat(nullptr);
            each.removeFnAttr(llvm::Attribute::NoInline);
            each.addFnAttr(llvm::Attribute::AlwaysInline);
        }
    }
}

/// Puts an argument of the kernel, a block of local memory, in the place of calls that ask for it.
void pass_local_memory(llvm::Function& kernel, unsigned argument, llvm::StringRef function) {
    llvm::Function* const asked = kernel.getParent()->getFunction(function);
    if (asked == nullptr) {
        return;
    }
    llvm::IRBuilder<> entry(&*kernel.getEntryBlock().getFirstInsertionPt());
    llvm::Value* const address = entry.CreateAddrSpaceCast(kernel.getArg(argument), asked->getReturnType());
    for (llvm::User* const each : llvm::make_early_inc_range(asked->users())) {
        each->replaceAllUsesWith(address);
        llvm::cast<llvm::CallInst>(each)->eraseFromParent();
    }
    asked->eraseFromParent();
}

} // namespace

void optimise(llvm::Module& alone) {
    inline_all_but_kernels(alone);
    const auto machine = make_machine();
    // Loops stay as they are: the driver knows how wide its device is.
    llvm::PipelineTuningOptions tuning;
    tuning.LoopUnrolling = false;
    tuning.LoopVectorization = false;
    tuning.SLPVectorization = false;
    llvm::PassBuilder builder(machine.get(), tuning);
    llvm::LoopAnalysisManager loops;
    llvm::FunctionAnalysisManager functions;
    llvm::CGSCCAnalysisManager call_graph;
    llvm::ModuleAnalysisManager modules;
    builder.registerModuleAnalyses(modules);
    builder.registerCGSCCAnalyses(call_graph);
    builder.registerFunctionAnalyses(functions);
    builder.registerLoopAnalyses(loops);
    builder.crossRegisterProxies(loops, functions, call_graph, modules);
    llvm::ModulePassManager inlining;
    inlining.addPass(llvm::AlwaysInlinerPass());
    inlining.addPass(llvm::GlobalDCEPass());
    inlining.run(alone, modules);
    llvm::Function& kernel = *kernels_of(alone).front();
    pass_local_memory(kernel, 1, "__sycl_local_arrays");
    pass_local_memory(kernel, 2, "__sycl_group_scratch");
    modules.clear();
    builder.buildPerModuleDefaultPipeline(llvm::OptimizationLevel::O2).run(alone, modules);
}

} // namespace device_images
