#include "work_group_loops.hpp"

#include <llvm/ADT/PostOrderIterator.h>
#include <llvm/Analysis/ValueTracking.h>
#include <llvm/IR/Dominators.h>
#include <llvm/IR/IRBuilder.h>
#include <llvm/IR/InstIterator.h>
#include <llvm/Passes/PassBuilder.h>
#include <llvm/Transforms/InstCombine/InstCombine.h>
#include <llvm/Transforms/Scalar/ADCE.h>
#include <llvm/Transforms/Scalar/EarlyCSE.h>
#include <llvm/Transforms/Scalar/SimplifyCFG.h>
#include <llvm/Transforms/Utils/Cloning.h>
#include <llvm/Transforms/Utils/Local.h>

#include <algorithm>
#include <set>
#include <vector>

namespace sycl::translator {

namespace {

constexpr unsigned generic_space = 4;    ///< of SPIR
constexpr unsigned scratch_argument = 2; ///< the kernel's block of local memory for reductions

constexpr const char local_id[] = "_Z12get_local_idj";
constexpr const char local_size[] = "_Z14get_local_sizej";

bool calls(const llvm::Instruction& instruction, llvm::ArrayRef<const char*> names) {
    const auto* const call = llvm::dyn_cast<llvm::CallInst>(&instruction);
    const llvm::Function* const callee = call == nullptr ? nullptr : call->getCalledFunction();
    return callee != nullptr && std::any_of(names.begin(), names.end(),
                                            [&](const char* name) { return callee->getName() == name; });
}

bool is_barrier(const llvm::Instruction& instruction) {
    return calls(instruction, {"_Z18work_group_barrierj12memory_scope", "_Z7barrierj"});
}

bool has_barriers(const llvm::Function& kernel) {
    const auto code = llvm::instructions(kernel);
    return std::any_of(code.begin(), code.end(), is_barrier);
}

llvm::CallInst* call_builtin(llvm::IRBuilder<>& builder, llvm::Module& module, const char* name) {
    llvm::FunctionCallee callee =
        module.getOrInsertFunction(name, builder.getInt64Ty(), builder.getInt32Ty());
    auto* const function = llvm::cast<llvm::Function>(callee.getCallee());
    function->setCallingConv(llvm::CallingConv::SPIR_FUNC);
    llvm::CallInst* const call = builder.CreateCall(callee, builder.getInt32(0));
    call->setCallingConv(llvm::CallingConv::SPIR_FUNC);
    return call;
}

/**
 * What one work-item of a kernel does between two barriers: a function of the kernel's arguments and of these. It
 * returns the number of the barrier that it has come to, or that of the end.
 */
class work_item_step {
public:
    static constexpr std::uint32_t end = 0; ///< and the beginning: no barrier has this number

    explicit work_item_step(llvm::Function& kernel) : function_(take_body(kernel)) {
        use_item_number();
        pause_at_barriers();
        move_invariants();
        keep_values_in_slots();
    }

    std::size_t n_barriers() const { return resumed_.size(); }
    /// Bytes that a work-item keeps across barriers.
    std::uint64_t slot_bytes() const { return slot_bytes_; }

    /// The step from the barrier of that number on.
    llvm::Function* from(std::uint32_t barrier) const {
        llvm::ValueToValueMapTy copies;
        llvm::Function* const result = llvm::CloneFunction(function_, copies);
        result->setLinkage(llvm::GlobalValue::InternalLinkage);
        result->addFnAttr(llvm::Attribute::AlwaysInline);
        llvm::Argument* const state = argument(*result, state_place);
        state->replaceAllUsesWith(llvm::ConstantInt::get(state->getType(), barrier));
        llvm::ConstantFoldTerminator(&result->getEntryBlock());
        llvm::removeUnreachableBlocks(*result);
        return result;
    }

    void erase() { function_->eraseFromParent(); }

private:
    /// Places behind the kernel's own arguments.
    enum place : unsigned { slots_place, item_place, n_items_place, state_place, n_places };

    static llvm::Argument* argument(llvm::Function& function, place which) {
        return function.getArg(static_cast<unsigned>(function.arg_size()) - n_places + which);
    }

    static llvm::Function* take_body(llvm::Function& kernel) {
        llvm::LLVMContext& context = kernel.getContext();
        std::vector<llvm::Type*> types(kernel.getFunctionType()->params());
        auto* const number = llvm::Type::getInt64Ty(context);
        auto* const state = llvm::Type::getInt32Ty(context);
        types.insert(types.end(), {llvm::PointerType::get(context, generic_space), number, number, state});
        auto* const result = llvm::Function::Create(llvm::FunctionType::get(state, types, false),
                                                    llvm::GlobalValue::InternalLinkage,
                                                    kernel.getName() + ".step", kernel.getParent());
        result->setCallingConv(llvm::CallingConv::SPIR_FUNC);
        result->addFnAttr(llvm::Attribute::NoUnwind);
        result->getBasicBlockList().splice(result->begin(), kernel.getBasicBlockList());
        for (llvm::Argument& each : kernel.args()) {
            each.replaceAllUsesWith(result->getArg(each.getArgNo()));
        }
        if (kernel.hasParamAttribute(0, llvm::Attribute::ByVal)) {
            const std::uint64_t bytes =
                kernel.getParent()->getDataLayout().getTypeAllocSize(kernel.getParamByValType(0));
            result->addDereferenceableParamAttr(0, bytes);
            result->addParamAttr(0, llvm::Attribute::NoAlias);
            result->addParamAttr(0, llvm::Attribute::ReadOnly);
        }
        return result;
    }

    void use_item_number() {
        for (llvm::Instruction& each : llvm::make_early_inc_range(llvm::instructions(*function_))) {
            if (calls(each, {local_id})) {
                each.replaceAllUsesWith(argument(*function_, item_place));
                each.eraseFromParent();
            }
        }
    }

    void pause_at_barriers() {
        std::vector<llvm::Instruction*> barriers;
        for (llvm::Instruction& each : llvm::instructions(*function_)) {
            if (is_barrier(each)) {
                barriers.push_back(&each);
            } else if (llvm::isa<llvm::ReturnInst>(each)) {
                barriers.push_back(&each);
            }
        }
        llvm::IRBuilder<> builder(function_->getContext());
        for (llvm::Instruction* const each : barriers) {
            llvm::BasicBlock* const block = each->getParent();
            if (!llvm::isa<llvm::ReturnInst>(each)) {
                resumed_.push_back(block->splitBasicBlock(each->getNextNode()));
                block->getTerminator()->eraseFromParent();
            }
            builder.SetInsertPoint(block);
            builder.CreateRet(builder.getInt32(
                llvm::isa<llvm::ReturnInst>(each) ? end : static_cast<std::uint32_t>(resumed_.size())));
            each->eraseFromParent();
        }
        llvm::BasicBlock* const first = &function_->getEntryBlock();
        auto* const entry = llvm::BasicBlock::Create(function_->getContext(), "", function_, first);
        builder.SetInsertPoint(entry);
        llvm::SwitchInst* const choice = builder.CreateSwitch(argument(*function_, state_place), first);
        for (std::size_t i = 0; i < resumed_.size(); ++i) {
            choice->addCase(builder.getInt32(static_cast<std::uint32_t>(i + 1)), resumed_[i]);
        }
    }

    /// What follows from the arguments alone is worked out anew, before the choice of the barrier.
    void move_invariants() {
        llvm::BasicBlock& entry = function_->getEntryBlock();
        const llvm::ReversePostOrderTraversal<llvm::Function*> order(function_);
        for (llvm::BasicBlock* const block : order) {
            if (block != &entry) {
                for (llvm::Instruction& each : llvm::make_early_inc_range(*block)) {
                    if (is_invariant(each)) {
                        each.moveBefore(entry.getTerminator());
                    }
                }
            }
        }
    }

    bool is_invariant(const llvm::Instruction& each) const {
        const auto known = [this](const llvm::Value* operand) {
            const auto* const instruction = llvm::dyn_cast<llvm::Instruction>(operand);
            return instruction == nullptr || instruction->getParent() == &function_->getEntryBlock();
        };
        if (llvm::isa<llvm::PHINode>(each) || each.isTerminator() ||
            !std::all_of(each.op_begin(), each.op_end(), known)) {
            return false;
        }
        if (const auto* const load = llvm::dyn_cast<llvm::LoadInst>(&each)) {
            // The kernel object, which nobody changes.
            return llvm::getUnderlyingObject(load->getPointerOperand(), 0) == function_->getArg(0);
        }
        return llvm::isa<llvm::AllocaInst>(each) ||
               calls(each, {local_size, "_Z12get_group_idj", "_Z14get_num_groupsj"}) ||
               (!each.mayReadOrWriteMemory() && llvm::isSafeToSpeculativelyExecute(&each));
    }

    /// A value that is used behind a barrier goes to memory of the work-item; with it all of the kernel's own variables.
    void keep_values_in_slots() {
        llvm::BasicBlock& entry = function_->getEntryBlock();
        const llvm::DominatorTree tree(*function_);
        std::vector<llvm::Instruction*> crossing;
        for (llvm::Instruction& each : llvm::instructions(*function_)) {
            if (std::any_of(each.use_begin(), each.use_end(),
                            [&](const llvm::Use& use) { return !tree.dominates(&each, use); })) {
                crossing.push_back(&each);
            }
        }
        for (llvm::Instruction* const each : crossing) {
            llvm::DemoteRegToStack(*each, false, &*entry.getFirstInsertionPt());
        }
        for (llvm::Instruction& each : llvm::make_early_inc_range(entry)) {
            if (auto* const variable = llvm::dyn_cast<llvm::AllocaInst>(&each)) {
                replace_by_slot(*variable);
            }
        }
        move_scratch_behind_slots();
    }

    void move_scratch_behind_slots() {
        llvm::Argument* const scratch = function_->getArg(scratch_argument);
        llvm::IRBuilder<> builder(&*function_->getEntryBlock().getFirstInsertionPt());
        llvm::Value* const bytes =
            builder.CreateMul(argument(*function_, n_items_place), builder.getInt64(slot_bytes_));
        auto* const moved = llvm::GetElementPtrInst::Create(builder.getInt8Ty(), scratch, bytes);
        scratch->replaceAllUsesWith(moved);
        moved->setOperand(0, scratch);
        builder.Insert(moved);
    }

    /// Slots of the same value lie side by side, so that neighbouring work-items use neighbouring memory.
    void replace_by_slot(llvm::AllocaInst& variable) {
        const llvm::DataLayout& layout = function_->getParent()->getDataLayout();
        const std::uint64_t bytes = *variable.getAllocationSizeInBits(layout) / 8;
        const std::uint64_t pitch = bytes <= 8 ? llvm::PowerOf2Ceil(bytes) : llvm::alignTo(bytes, 16);
        llvm::IRBuilder<> builder(&variable);
        llvm::Value* const first =
            builder.CreateMul(argument(*function_, n_items_place), builder.getInt64(slot_bytes_));
        llvm::Value* const own = builder.CreateMul(argument(*function_, item_place), builder.getInt64(pitch));
        llvm::Value* const slot = builder.CreateGEP(builder.getInt8Ty(), argument(*function_, slots_place),
                                                    builder.CreateAdd(first, own));
        variable.replaceAllUsesWith(builder.CreateAddrSpaceCast(slot, variable.getType()));
        variable.eraseFromParent();
        slot_bytes_ += llvm::alignTo(pitch, 16);
    }

    llvm::Function* function_;
    std::vector<llvm::BasicBlock*> resumed_; ///< behind each barrier
    std::uint64_t slot_bytes_ = 0;
};

/// The barriers that \p step may return.
std::set<std::uint32_t> reached_from(const llvm::Function& step) {
    std::set<std::uint32_t> result;
    for (const llvm::BasicBlock& block : step) {
        if (const auto* const end = llvm::dyn_cast<llvm::ReturnInst>(block.getTerminator())) {
            result.insert(static_cast<std::uint32_t>(
                llvm::cast<llvm::ConstantInt>(end->getReturnValue())->getZExtValue()));
        }
    }
    return result;
}

/// The new body of \p kernel: for each barrier a loop over the work-items, up to the barrier that they come to next.
void write_loops(llvm::Function& kernel, work_item_step& step) {
    llvm::LLVMContext& context = kernel.getContext();
    llvm::Module& module = *kernel.getParent();
    llvm::IRBuilder<> builder(context);
    const auto block = [&](const char* name) { return llvm::BasicBlock::Create(context, name, &kernel); };
    llvm::BasicBlock* const entry = block("entry");
    llvm::BasicBlock* const work = block("work");
    llvm::BasicBlock* const done = block("done");
    const std::size_t n_steps = step.n_barriers() + 1;
    std::vector<llvm::BasicBlock*> begins(n_steps), loops(n_steps), ends(n_steps);
    for (std::size_t i = 0; i < n_steps; ++i) {
        begins[i] = block("begin");
        loops[i] = block("loop");
        ends[i] = block("end");
    }
    builder.SetInsertPoint(entry);
    llvm::Value* const item = call_builtin(builder, module, local_id);
    builder.CreateCondBr(builder.CreateICmpEQ(item, builder.getInt64(0)), work, done);
    builder.SetInsertPoint(done);
    builder.CreateRetVoid();

    builder.SetInsertPoint(work);
    llvm::Value* const n_items = call_builtin(builder, module, local_size);
    llvm::Value* const slots = builder.CreateAddrSpaceCast(kernel.getArg(scratch_argument),
                                                           llvm::PointerType::get(context, generic_space));
    builder.CreateBr(begins[0]);

    for (std::size_t i = 0; i < n_steps; ++i) {
        llvm::Function* const body = step.from(static_cast<std::uint32_t>(i));
        builder.SetInsertPoint(begins[i]);
        builder.CreateBr(loops[i]);
        builder.SetInsertPoint(loops[i]);
        llvm::PHINode* const number = builder.CreatePHI(builder.getInt64Ty(), 2);
        std::vector<llvm::Value*> arguments;
        for (llvm::Argument& each : kernel.args()) {
            arguments.push_back(&each);
        }
        arguments.insert(arguments.end(),
                         {slots, number, n_items, builder.getInt32(static_cast<std::uint32_t>(i))});
        llvm::CallInst* const reached = builder.CreateCall(body, arguments);
        reached->setCallingConv(body->getCallingConv());
        llvm::Value* const next = builder.CreateAdd(number, builder.getInt64(1));
        number->addIncoming(builder.getInt64(0), begins[i]);
        number->addIncoming(next, loops[i]);
        builder.CreateCondBr(builder.CreateICmpULT(next, n_items), loops[i], ends[i]);
        builder.SetInsertPoint(ends[i]);
        const std::set<std::uint32_t> next_barriers = reached_from(*body);
        llvm::SwitchInst* const choice = builder.CreateSwitch(
            reached, next_barriers.count(work_item_step::end) != 0 ? done : begins[*next_barriers.begin()]);
        for (const std::uint32_t each : next_barriers) {
            if (each != work_item_step::end) {
                choice->addCase(builder.getInt32(each), begins[each]);
            }
        }
    }
    step.erase();
}

/// Takes away what the translation from SPIR-V leaves.
void simplify(llvm::Module& module) {
    llvm::PassBuilder builder;
    llvm::LoopAnalysisManager loops;
    llvm::FunctionAnalysisManager functions;
    llvm::CGSCCAnalysisManager call_graph;
    llvm::ModuleAnalysisManager modules;
    builder.registerModuleAnalyses(modules);
    builder.registerCGSCCAnalyses(call_graph);
    builder.registerFunctionAnalyses(functions);
    builder.registerLoopAnalyses(loops);
    builder.crossRegisterProxies(loops, functions, call_graph, modules);
    llvm::FunctionPassManager passes;
    passes.addPass(llvm::InstCombinePass());
    passes.addPass(llvm::EarlyCSEPass());
    passes.addPass(llvm::ADCEPass());
    llvm::ModulePassManager all;
    all.addPass(llvm::createModuleToFunctionPassAdaptor(std::move(passes)));
    all.run(module, modules);
}

} // namespace

std::uint64_t run_groups_in_loops(llvm::Module& module) {
    std::uint64_t slot_bytes = 0;
    simplify(module);
    std::vector<llvm::Function*> kernels;
    for (llvm::Function& each : module) {
        if (each.getCallingConv() == llvm::CallingConv::SPIR_KERNEL && !each.isDeclaration() &&
            has_barriers(each) && each.arg_size() > scratch_argument) {
            kernels.push_back(&each);
        }
    }
    for (llvm::Function* const each : kernels) {
        work_item_step step(*each);
        slot_bytes = std::max(slot_bytes, step.slot_bytes());
        write_loops(*each, step);
    }
    if (!kernels.empty()) {
        simplify(module);
    }
    return slot_bytes;
}

} // namespace sycl::translator
