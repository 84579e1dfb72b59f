#include "statistics_task.hpp"

#include <tsb/summary_statistics.h>

#include <algorithm>

namespace example {

const std::array<estimate, 19> all_estimates{{
    {"min", TSB_SS_EST_MIN, TSB_SS_PARAM_MIN},
    {"max", TSB_SS_EST_MAX, TSB_SS_PARAM_MAX},
    {"mean", TSB_SS_EST_MEAN, TSB_SS_PARAM_MEAN},
    {"sum", TSB_SS_EST_SUM, TSB_SS_PARAM_SUM},
    {"raw_sum2", TSB_SS_EST_RAW_SUM2, TSB_SS_PARAM_RAW_SUM2},
    {"raw_sum3", TSB_SS_EST_RAW_SUM3, TSB_SS_PARAM_RAW_SUM3},
    {"raw_sum4", TSB_SS_EST_RAW_SUM4, TSB_SS_PARAM_RAW_SUM4},
    {"raw_moment2", TSB_SS_EST_RAW2, TSB_SS_PARAM_RAW2},
    {"raw_moment3", TSB_SS_EST_RAW3, TSB_SS_PARAM_RAW3},
    {"raw_moment4", TSB_SS_EST_RAW4, TSB_SS_PARAM_RAW4},
    {"central_sum2", TSB_SS_EST_CENTRAL_SUM2, TSB_SS_PARAM_CENTRAL_SUM2},
    {"central_sum3", TSB_SS_EST_CENTRAL_SUM3, TSB_SS_PARAM_CENTRAL_SUM3},
    {"central_sum4", TSB_SS_EST_CENTRAL_SUM4, TSB_SS_PARAM_CENTRAL_SUM4},
    {"central_moment2", TSB_SS_EST_CENTRAL2, TSB_SS_PARAM_CENTRAL2},
    {"central_moment3", TSB_SS_EST_CENTRAL3, TSB_SS_PARAM_CENTRAL3},
    {"central_moment4", TSB_SS_EST_CENTRAL4, TSB_SS_PARAM_CENTRAL4},
    {"variation", TSB_SS_EST_VARIATION, TSB_SS_PARAM_VARIATION},
    {"skewness", TSB_SS_EST_SKEWNESS, TSB_SS_PARAM_SKEWNESS},
    {"kurtosis", TSB_SS_EST_KURTOSIS, TSB_SS_PARAM_KURTOSIS},
}};

namespace {

device_memory allocate(openmp_device& device, std::size_t n) {
    return device_memory(static_cast<double*>(device.allocate(n * sizeof(double))),
                         [&device](double* memory) { device.release(memory); });
}

void check(std::int32_t status, const char* what) {
    if (status != TSB_SS_OK) {
        throw device_error(std::string("the component refused ") + what + ", status " +
                           std::to_string(status));
    }
}

} // namespace

statistics_task::statistics_task(openmp_device& device, const aurelo::qtx::describe::csv_table<double>& table)
    : n_dims_(static_cast<std::int64_t>(table.columns.size())),
      n_observations_(static_cast<std::int64_t>(table.n_rows)), storage_(TSB_SS_STORAGE_BY_OBSERVATION),
      observations_(allocate(device, table.values.size())) {
    std::copy(table.values.begin(), table.values.end(), observations_.get());
    check(tsbdSSNewTask_64(&task_, &n_dims_, &n_observations_, &storage_, observations_.get(), nullptr,
                           nullptr),
          "the task");
    for (const auto& each : all_estimates) {
        results_.push_back(allocate(device, table.columns.size()));
        check(tsbdSSEditTask(task_, each.parameter, results_.back().get()), "an array");
    }
}

statistics_task::~statistics_task() {
    tsbSSDeleteTask(&task_);
}

} // namespace example
