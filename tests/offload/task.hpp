#pragma once

#include "interop_device.hpp"

#include "support/host_dataset.hpp"

#include <stats/omp_offload.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <type_traits>
#include <vector>

namespace test {

/// Slots of the record, by their offsets in bytes.
enum slot : std::size_t {
    slot_n_dims = 0x10,
    slot_n_observations = 0x18,
    slot_mask = 0x20,
    slot_observations = 0x28,
    slot_weights = 0x30,
    slot_storage = 0x40,
    slot_mean = 0x58,
    slot_raw2 = 0x60,
    slot_raw3 = 0x68,
    slot_raw4 = 0x70,
    slot_central2 = 0x78,
    slot_central3 = 0x80,
    slot_central4 = 0x88,
    slot_sum = 0x90,
    slot_raw_sum2 = 0x98,
    slot_raw_sum3 = 0xA0,
    slot_raw_sum4 = 0xA8,
    slot_central_sum2 = 0xB0,
    slot_central_sum3 = 0xB8,
    slot_central_sum4 = 0xC0,
    slot_kurtosis = 0xC8,
    slot_skewness = 0xD0,
    slot_variation = 0xD8,
    slot_minimum = 0xE0,
    slot_maximum = 0xE8,
    record_bytes = 0xF0
};
constexpr std::size_t n_results = (record_bytes - slot_mean) / 8;

enum : unsigned long long {
    est_mean = 1ull << 0,
    est_raw2 = 1ull << 1,
    est_raw3 = 1ull << 2,
    est_raw4 = 1ull << 3,
    est_central2 = 1ull << 4,
    est_central3 = 1ull << 5,
    est_central4 = 1ull << 6,
    est_kurtosis = 1ull << 7,
    est_skewness = 1ull << 8,
    est_variation = 1ull << 9,
    est_min = 1ull << 10,
    est_max = 1ull << 11,
    est_sum = 1ull << 25,
    est_raw_sum2 = 1ull << 26,
    est_raw_sum3 = 1ull << 27,
    est_raw_sum4 = 1ull << 28,
    est_central_sum2 = 1ull << 29,
    est_central_sum3 = 1ull << 30,
    est_central_sum4 = 1ull << 31,
    est_all = 0xFE000FFFull
};

template <typename T>
constexpr T rubbish = T(-98765.5);

/// Device memory of exactly as many elements as it holds.
template <typename T>
class device_array {
public:
    device_array(interop_device& device, const std::vector<T>& values)
        : device_(device), size_(values.size()), data_(static_cast<T*>(device.allocate(size_ * sizeof(T)))) {
        std::copy(values.begin(), values.end(), data_);
    }
    ~device_array() { device_.release(data_); }
    device_array(const device_array&) = delete;
    device_array& operator=(const device_array&) = delete;

    T* get() const { return data_; }
    std::vector<T> values() const { return std::vector<T>(data_, data_ + size_); }

private:
    interop_device& device_;
    std::size_t size_;
    T* data_;
};

/**
 * A task with all its arrays in a device's memory, made by hand: slots that entries must not read hold wild
 * pointers, result arrays hold rubbish, the mean the caller's if the dataset has one.
 */
template <typename T, typename Integer>
class offload_task {
public:
    offload_task(interop_device& device, const host_dataset<T>& data, layout placement = layout::by_dimension)
        : data_(data), n_dims(static_cast<Integer>(data.n_dims)),
          n_observations(static_cast<Integer>(data.n_observations)), storage(static_cast<Integer>(placement)),
          observations_(device, placement == layout::by_dimension
                                    ? data.template placed<layout::by_dimension>()
                                    : data.template placed<layout::by_observation>()) {
        record_.fill(0xDEADDEADDEADDEADull);
        set(slot_n_dims, &n_dims);
        set(slot_n_observations, &n_observations);
        set(slot_storage, &storage);
        set(slot_observations, observations_.get());
        set(slot_weights, optional(device, data.weights, weights_));
        set(slot_mask, optional(device, std::vector<Integer>(data.mask.begin(), data.mask.end()), mask_));
        for (std::size_t at = slot_mean; at < record_bytes; at += 8) {
            auto start = std::vector<T>(data.n_dims, rubbish<T>);
            if (at == slot_mean && !data.mean.empty()) {
                start = data.mean;
            }
            const auto made = results_.emplace(at, std::make_unique<device_array<T>>(device, start)).first;
            set(at, made->second->get());
        }
    }

    void set(std::size_t at, const void* address) {
        record_[at / 8] = reinterpret_cast<std::uint64_t>(address);
    }
    void* get() { return record_.data(); }
    std::vector<T> result(std::size_t at) const { return results_.at(at)->values(); }
    const host_dataset<T>& data() const { return data_; }

private:
    template <typename U>
    static const void* optional(interop_device& device, const std::vector<U>& values,
                                std::unique_ptr<device_array<U>>& array) {
        if (values.empty()) {
            return nullptr;
        }
        array = std::make_unique<device_array<U>>(device, values);
        return array->get();
    }

    host_dataset<T> data_;

public:
    Integer n_dims;
    Integer n_observations;
    Integer storage;

private:
    std::array<std::uint64_t, record_bytes / 8> record_;
    device_array<T> observations_;
    std::unique_ptr<device_array<T>> weights_;
    std::unique_ptr<device_array<Integer>> mask_;
    std::map<std::size_t, std::unique_ptr<device_array<T>>> results_;
};

/// The entries of a type and a width, by value and by reference.
template <typename T, typename Integer>
struct entry;
#define TEST_ENTRY(T, INTEGER, BY_VALUE, BY_REFERENCE)                                                       \
    template <>                                                                                              \
    struct entry<T, INTEGER> {                                                                               \
        static constexpr auto by_value = &BY_VALUE;                                                          \
        static constexpr auto by_reference = &BY_REFERENCE;                                                  \
    };
TEST_ENTRY(double, std::int64_t, qtx_tsb_dSSCompute_omp_offload_ilp64, qtx_tsb_dsscompute_omp_offload)
TEST_ENTRY(float, std::int64_t, qtx_tsb_sSSCompute_omp_offload_ilp64, qtx_tsb_ssscompute_omp_offload)
TEST_ENTRY(double, std::int32_t, qtx_tsb_dSSCompute_omp_offload_lp64, qtx_tsb_dsscompute_omp_offload_lp64)
TEST_ENTRY(float, std::int32_t, qtx_tsb_sSSCompute_omp_offload_lp64, qtx_tsb_ssscompute_omp_offload_lp64)
#undef TEST_ENTRY

template <typename T, typename Integer>
int compute(offload_task<T, Integer>& task, unsigned long long estimates, int method,
            const interop_object& interop) {
    return entry<T, Integer>::by_value(task.get(), estimates, method, interop.get());
}

/// Calls `body.operator()<T, Integer>()` for both types and widths.
template <typename Body>
void in_every_type(const Body& body) {
    body.template operator()<double, std::int64_t>();
    body.template operator()<float, std::int64_t>();
    body.template operator()<double, std::int32_t>();
    body.template operator()<float, std::int32_t>();
}

} // namespace test
