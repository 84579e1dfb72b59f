#include "task.hpp"

#include "checks.hpp"
#include "tsb/summary_statistics.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace tsb {

namespace {

std::int32_t status_of_task(const task_record* record, element_type type) {
    if (!record) {
        return TSB_SS_BAD_TASK;
    }
    return record->type == type ? TSB_SS_OK : TSB_SS_BAD_TYPE;
}

/// The slot that a parameter code means, or null.
const void** slot_of(task_record& record, std::int64_t parameter) {
    const auto result_slot = [&record](std::int64_t index) {
        return const_cast<const void**>(&record.results[index]);
    };
    switch (parameter) {
    case TSB_SS_PARAM_OBSERVATIONS:
        return &record.observations;
    case TSB_SS_PARAM_WEIGHTS:
        return &record.weights;
    case TSB_SS_PARAM_KURTOSIS:
        return result_slot(static_cast<std::int64_t>(result::kurtosis));
    case TSB_SS_PARAM_SKEWNESS:
        return result_slot(static_cast<std::int64_t>(result::skewness));
    case TSB_SS_PARAM_MIN:
        return result_slot(static_cast<std::int64_t>(result::minimum));
    case TSB_SS_PARAM_MAX:
        return result_slot(static_cast<std::int64_t>(result::maximum));
    case TSB_SS_PARAM_VARIATION:
        return result_slot(static_cast<std::int64_t>(result::variation));
    default:
        break;
    }
    if (parameter >= TSB_SS_PARAM_MEAN && parameter <= TSB_SS_PARAM_CENTRAL4) {
        return result_slot(static_cast<std::int64_t>(result::mean) + parameter - TSB_SS_PARAM_MEAN);
    }
    if (parameter >= TSB_SS_PARAM_SUM && parameter <= TSB_SS_PARAM_CENTRAL_SUM4) {
        return result_slot(static_cast<std::int64_t>(result::sum) + parameter - TSB_SS_PARAM_SUM);
    }
    return nullptr;
}

} // namespace

task_record* task_of(void* task) {
    auto* record = static_cast<task_record*>(task);
    return record && record->signature == task_record::live ? record : nullptr;
}

std::int32_t new_task(void** task, const task_arguments& a) {
    if (!task) {
        return TSB_SS_BAD_TASK;
    }
    task_record record{};
    record.signature = task_record::live;
    record.type = a.type;
    record.width = a.width;
    record.n_dims = a.n_dims;
    record.n_observations = a.n_observations;
    record.storage = a.storage;
    record.observations = a.observations;
    record.weights = a.weights;
    record.mask = a.mask;
    if (const std::int32_t status = check_data(record)) {
        return status;
    }
    auto* made = new (std::nothrow) task_record(record);
    if (!made) {
        return TSB_SS_NO_MEMORY;
    }
    *task = made;
    return TSB_SS_OK;
}

std::int32_t edit_task(void* task, element_type type, std::int64_t parameter, void* array) {
    task_record* record = task_of(task);
    if (const std::int32_t status = status_of_task(record, type)) {
        return status;
    }
    const void** slot = slot_of(*record, parameter);
    if (!slot) {
        return TSB_SS_BAD_PARAMETER;
    }
    if (parameter == TSB_SS_PARAM_OBSERVATIONS && !array) {
        return TSB_SS_NO_OBSERVATIONS;
    }
    *slot = array;
    return TSB_SS_OK;
}

std::int32_t edit_results(void* task, element_type type, result first, void* const (&arrays)[7]) {
    task_record* record = task_of(task);
    if (const std::int32_t status = status_of_task(record, type)) {
        return status;
    }
    std::copy(std::begin(arrays), std::end(arrays), record->results + static_cast<int>(first));
    return TSB_SS_OK;
}

std::int32_t delete_task(void** task) {
    task_record* record = task ? task_of(*task) : nullptr;
    if (!record) {
        return TSB_SS_BAD_TASK;
    }
    record->signature = 0;
    delete record;
    *task = nullptr;
    return TSB_SS_OK;
}

std::int32_t compute(void* task, element_type type, std::uint64_t estimates, std::int32_t method) {
    const task_record* record = task_of(task);
    if (const std::int32_t status = status_of_task(record, type)) {
        return status;
    }
    problem p{};
    if (const std::int32_t status = make_problem(*record, estimates, method, p)) {
        return status;
    }
    if (estimates == 0) {
        return TSB_SS_OK;
    }
    return solve(p) ? TSB_SS_OK : TSB_SS_NO_MEMORY;
}

} // namespace tsb
