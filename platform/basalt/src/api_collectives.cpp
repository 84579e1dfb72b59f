// Entry points that kernels call. A stopped group leaves them by an exception.
#include "work_group.hpp"

namespace {

basalt::work_group& group_of(const bs_work_item_t* item) {
    return *static_cast<basalt::work_group*>(item->group);
}

} // namespace

void bs_group_barrier(const bs_work_item_t* item) {
    group_of(item).barrier(item->local_id);
}

void bs_group_combine(const bs_work_item_t* item, const void* value, size_t bytes, bs_combine_t combine,
                      void* result) {
    group_of(item).combine(item->local_id, value, bytes, combine, result);
}

uint64_t bs_group_copy(const bs_work_item_t* item, void* target, const void* source, size_t bytes,
                       size_t count, size_t target_stride, size_t source_stride) {
    return group_of(item).begin_copy(item->local_id,
                                     {target, source, bytes, count, target_stride, source_stride});
}

void bs_group_wait_copy(const bs_work_item_t* item, uint64_t copy) {
    group_of(item).wait_copy(item->local_id, copy);
}
