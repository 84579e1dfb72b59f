#include "kernels.hpp"

#include <llvm/IR/Constants.h>
#include <llvm/IR/InstIterator.h>
#include <llvm/IR/Instructions.h>
#include <llvm/Transforms/Utils/Cloning.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace device_images {

namespace {

bool is_kernel(const llvm::Function& function) {
    return function.getCallingConv() == llvm::CallingConv::SPIR_KERNEL && !function.isDeclaration();
}

/// Enters what \p user refers to, and what that refers to.
void collect(const llvm::User& user, std::set<const llvm::GlobalValue*>& found) {
    for (const llvm::Use& operand : user.operands()) {
        const auto* const global = llvm::dyn_cast<llvm::GlobalValue>(operand.get());
        if (global == nullptr) {
            if (const auto* const constant = llvm::dyn_cast<llvm::Constant>(operand.get())) {
                collect(*constant, found);
            }
        } else if (found.insert(global).second) {
            if (const auto* const function = llvm::dyn_cast<llvm::Function>(global)) {
                for (const llvm::Instruction& each : llvm::instructions(*function)) {
                    collect(each, found);
                }
            }
            collect(*global, found);
        }
    }
}

std::set<const llvm::GlobalValue*> reach_of(const llvm::Function& kernel) {
    std::set<const llvm::GlobalValue*> result{&kernel};
    for (const llvm::Instruction& each : llvm::instructions(kernel)) {
        collect(each, result);
    }
    return result;
}

bool is_double(const llvm::Type& type) {
    return type.getScalarType()->isDoubleTy();
}

bool computes_in_double(const llvm::Function& function) {
    const auto touches = [](const llvm::Instruction& each) {
        return is_double(*each.getType()) ||
               std::any_of(each.op_begin(), each.op_end(),
                           [](const llvm::Use& operand) { return is_double(*operand->getType()); });
    };
    const auto code = llvm::instructions(function);
    return std::any_of(code.begin(), code.end(), touches);
}

void require_unchanged_arguments(const llvm::Function& kernel) {
    for (const llvm::Argument& each : kernel.args()) {
        if (each.hasByValAttr() && !each.onlyReadsMemory()) {
            throw std::runtime_error("kernel " + kernel.getName().str() + " stores to its argument");
        }
    }
}

std::uint64_t object_bytes(const llvm::Function& kernel) {
    if (kernel.arg_size() == 0 || !kernel.getArg(0)->hasByValAttr()) {
        throw std::runtime_error("the first argument of " + kernel.getName().str() + " is no kernel object");
    }
    return kernel.getDataLayout().getTypeAllocSize(kernel.getParamByValType(0)).getFixedValue();
}

} // namespace

std::vector<llvm::Function*> kernels_of(llvm::Module& module) {
    std::vector<llvm::Function*> result;
    for (llvm::Function& each : module) {
        if (is_kernel(each)) {
            result.push_back(&each);
        }
    }
    return result;
}

void drop_type_names(llvm::Module& module) {
    for (llvm::StructType* const each : module.getIdentifiedStructTypes()) {
        each->setName("");
    }
}

std::unique_ptr<llvm::Module> extract(const llvm::Function& kernel) {
    const auto wanted = reach_of(kernel);
    llvm::ValueToValueMapTy copies;
    auto result = llvm::CloneModule(*kernel.getParent(), copies,
                                    [&](const llvm::GlobalValue* value) { return wanted.count(value) != 0; });
    for (llvm::Function& each : llvm::make_early_inc_range(*result)) {
        if (each.isDeclaration() && each.use_empty()) {
            each.eraseFromParent();
        }
    }
    for (llvm::GlobalVariable& each : llvm::make_early_inc_range(result->globals())) {
        if (each.use_empty()) {
            each.eraseFromParent();
        }
    }
    return result;
}

std::uint64_t group_value_bytes(const llvm::Module& alone) {
    const llvm::Function* const asked = alone.getFunction("__sycl_group_scratch");
    std::uint64_t result = 0;
    if (asked != nullptr) {
        for (const llvm::User* const each : asked->users()) {
            const auto* const bytes =
                llvm::dyn_cast<llvm::ConstantInt>(llvm::cast<llvm::CallInst>(each)->getArgOperand(0));
            if (bytes == nullptr) {
                throw std::runtime_error("a reduction whose value has no constant size");
            }
            result = std::max(result, bytes->getZExtValue());
        }
    }
    return result;
}

kernel_needs needs_of(const llvm::Module& alone) {
    kernel_needs result;
    for (const llvm::Function& each : alone) {
        if (is_kernel(each)) {
            require_unchanged_arguments(each);
            result.n_arguments = static_cast<unsigned>(each.arg_size());
            result.argument_bytes = object_bytes(each);
        }
        result.fp64 = result.fp64 || computes_in_double(each);
    }
    return result;
}

} // namespace device_images
