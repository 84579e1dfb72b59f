// The task record: what an offload entry reads by offset, and the component's own book-keeping between.
#ifndef TSB_SRC_TASK_HPP
#define TSB_SRC_TASK_HPP

#include "problem.hpp"

#include <cstddef>
#include <cstdint>

namespace tsb {

enum class element_type : std::uint64_t { float32 = 4, float64 = 8 };
enum class integer_width : std::uint64_t { bits32 = 4, bits64 = 8 };

struct task_record {
    std::uint64_t signature; ///< tells a task from other memory
    element_type type;
    const void* n_dims;
    const void* n_observations;
    const void* mask;
    const void* observations;
    const void* weights;
    integer_width width; ///< of the two counts, the mask and the storage code
    const void* storage;
    std::uint64_t reserved[2];
    void* results[n_results]; ///< indexed by tsb::result

    static constexpr std::uint64_t live = 0x7473622d7461736b; // "tsb-task"

    /// An integer of the task's width.
    std::int64_t integer(const void* address) const {
        return width == integer_width::bits64 ? *static_cast<const std::int64_t*>(address)
                                              : *static_cast<const std::int32_t*>(address);
    }
};

constexpr std::size_t result_offset(result r) {
    return offsetof(task_record, results) + sizeof(void*) * static_cast<std::size_t>(r);
}

static_assert(sizeof(void*) == 8);
static_assert(offsetof(task_record, signature) == 0x00);
static_assert(offsetof(task_record, type) == 0x08);
static_assert(offsetof(task_record, n_dims) == 0x10);
static_assert(offsetof(task_record, n_observations) == 0x18);
static_assert(offsetof(task_record, mask) == 0x20);
static_assert(offsetof(task_record, observations) == 0x28);
static_assert(offsetof(task_record, weights) == 0x30);
static_assert(offsetof(task_record, width) == 0x38);
static_assert(offsetof(task_record, storage) == 0x40);
static_assert(offsetof(task_record, reserved) == 0x48);
static_assert(result_offset(result::mean) == 0x58);
static_assert(result_offset(result::raw2) == 0x60);
static_assert(result_offset(result::raw3) == 0x68);
static_assert(result_offset(result::raw4) == 0x70);
static_assert(result_offset(result::central2) == 0x78);
static_assert(result_offset(result::central3) == 0x80);
static_assert(result_offset(result::central4) == 0x88);
static_assert(result_offset(result::sum) == 0x90);
static_assert(result_offset(result::raw_sum2) == 0x98);
static_assert(result_offset(result::raw_sum3) == 0xA0);
static_assert(result_offset(result::raw_sum4) == 0xA8);
static_assert(result_offset(result::central_sum2) == 0xB0);
static_assert(result_offset(result::central_sum3) == 0xB8);
static_assert(result_offset(result::central_sum4) == 0xC0);
static_assert(result_offset(result::kurtosis) == 0xC8);
static_assert(result_offset(result::skewness) == 0xD0);
static_assert(result_offset(result::variation) == 0xD8);
static_assert(result_offset(result::minimum) == 0xE0);
static_assert(result_offset(result::maximum) == 0xE8);
static_assert(sizeof(task_record) == 0xF0);

/// \brief The arguments of a maker.
struct task_arguments {
    element_type type;
    integer_width width;
    const void* n_dims;
    const void* n_observations;
    const void* storage;
    const void* observations;
    const void* weights;
    const void* mask;
};

std::int32_t new_task(void** task, const task_arguments&);
std::int32_t edit_task(void* task, element_type, std::int64_t parameter, void* array);
/// Registers `arrays` in the slots from `first` on.
std::int32_t edit_results(void* task, element_type, result first, void* const (&arrays)[7]);
std::int32_t delete_task(void** task);
std::int32_t compute(void* task, element_type, std::uint64_t estimates, std::int32_t method);

/// \brief Null if `task` is none.
task_record* task_of(void* task);

} // namespace tsb

#endif
