#pragma once

#include "openmp_device.hpp"

#include <csv_table.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace example {

/// An estimate of the component: its name here, its bit, and the code under which its array is registered.
struct estimate {
    std::string_view name;
    std::uint64_t bit;
    std::int64_t parameter;
};

/// All of them.
extern const std::array<estimate, 19> all_estimates;

/// Memory of a device, freed with its last owner.
using device_memory = std::unique_ptr<double, std::function<void(double*)>>;

/// A task over the columns of a table, with an array for every estimate, all in the device's memory.
class statistics_task {
public:
    statistics_task(openmp_device& device, const aurelo::qtx::describe::csv_table<double>& table);
    ~statistics_task();
    statistics_task(const statistics_task&) = delete;
    statistics_task& operator=(const statistics_task&) = delete;

    void* handle() const { return task_; }

    /// The results of all_estimates[i], one for each column.
    const double* results(std::size_t i) const { return results_[i].get(); }

private:
    std::int64_t n_dims_;
    std::int64_t n_observations_;
    std::int64_t storage_;
    device_memory observations_;
    std::vector<device_memory> results_;
    void* task_ = nullptr;
};

} // namespace example
