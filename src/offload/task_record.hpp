/**
 * \file task_record.hpp
 * \brief The record of a statistics task, as far as offload entries read it.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace aurelo::qtx::stats::detail::openmp {

/** \brief The integers of a task: counts and storage code. */
template <bool ilp64>
using task_integer = std::conditional_t<ilp64, std::int64_t, std::int32_t>;

/**
 * \brief Slots of the statistics component's record. Every slot is 8 bytes wide, any pointer may be null, and
 * nothing here is ever written. The arrays belong to the caller and are reachable by the device.
 */
template <typename T, bool ilp64>
struct task_record {
    using integer = task_integer<ilp64>;

    std::uint64_t private_00[2];
    const integer* n_dims;
    const integer* n_observations;
    std::int64_t* indices; ///< to integers of the task's own width; only kernels look behind it
    T* observations;
    T* weights;
    std::uint64_t private_38;
    const integer* storage;
    std::uint64_t private_48[2];
    T* mean;
    T* raw2;
    T* raw3;
    T* raw4;
    T* central2;
    T* central3;
    T* central4;
    T* sum;
    T* raw_sum2;
    T* raw_sum3;
    T* raw_sum4;
    T* central_sum2;
    T* central_sum3;
    T* central_sum4;
    T* kurtosis;
    T* skewness;
    T* variation;
    T* minimum;
    T* maximum;
};

template <typename Record>
constexpr bool has_the_components_offsets() {
    static_assert(sizeof(void*) == 8 && std::is_standard_layout_v<Record>);
    static_assert(offsetof(Record, n_dims) == 0x10 && offsetof(Record, n_observations) == 0x18);
    static_assert(offsetof(Record, indices) == 0x20 && offsetof(Record, observations) == 0x28);
    static_assert(offsetof(Record, weights) == 0x30 && offsetof(Record, storage) == 0x40);
    static_assert(offsetof(Record, mean) == 0x58 && offsetof(Record, raw2) == 0x60);
    static_assert(offsetof(Record, raw3) == 0x68 && offsetof(Record, raw4) == 0x70);
    static_assert(offsetof(Record, central2) == 0x78 && offsetof(Record, central3) == 0x80);
    static_assert(offsetof(Record, central4) == 0x88 && offsetof(Record, sum) == 0x90);
    static_assert(offsetof(Record, raw_sum2) == 0x98 && offsetof(Record, raw_sum3) == 0xA0);
    static_assert(offsetof(Record, raw_sum4) == 0xA8 && offsetof(Record, central_sum2) == 0xB0);
    static_assert(offsetof(Record, central_sum3) == 0xB8 && offsetof(Record, central_sum4) == 0xC0);
    static_assert(offsetof(Record, kurtosis) == 0xC8 && offsetof(Record, skewness) == 0xD0);
    static_assert(offsetof(Record, variation) == 0xD8 && offsetof(Record, minimum) == 0xE0);
    static_assert(offsetof(Record, maximum) == 0xE8);
    return true;
}
static_assert(has_the_components_offsets<task_record<float, true>>());
static_assert(has_the_components_offsets<task_record<float, false>>());
static_assert(has_the_components_offsets<task_record<double, true>>());
static_assert(has_the_components_offsets<task_record<double, false>>());

} // namespace aurelo::qtx::stats::detail::openmp
