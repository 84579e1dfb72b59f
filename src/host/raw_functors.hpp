/**
 * \file raw_functors.hpp
 * \brief Raw sums and raw moments by the CPU statistics component.
 */
#pragma once

#include "arrays.hpp"
#include "task_bridge.hpp"

#include <cstdint>

namespace aurelo::qtx::stats::detail::cpu {

/** \brief What the two raw estimates share: a first output and three optional ones. */
template <typename T, bool is_usm>
class raw_outputs {
public:
    raw_outputs(sycl::buffer<T, 1>& first, sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third,
                sycl::buffer<T, 1>& fourth, sycl::buffer<T, 1>& spare2, sycl::buffer<T, 1>& spare3,
                sycl::buffer<T, 1>& spare4, std::int64_t method) requires(!is_usm)
        : first_(first), order2_(second, spare2), order3_(third, spare3), order4_(fourth, spare4),
          method_(method) {}

    raw_outputs(T* first, T* second, T* third, T* fourth, std::int64_t method) requires is_usm
        : first_(first),
          order2_(second),
          order3_(third),
          order4_(fourth),
          method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, first_, order2_.accessor(), order3_.accessor(), order4_.accessor());
    }

protected:
    std::uint64_t mask(std::uint64_t first, std::uint64_t second, std::uint64_t third,
                       std::uint64_t fourth) const {
        return first | if_present(order2_, second) | if_present(order3_, third) | if_present(order4_, fourth);
    }

    array<T, is_usm> first_;
    optional_output<T, is_usm> order2_;
    optional_output<T, is_usm> order3_;
    optional_output<T, is_usm> order4_;
    std::int64_t method_;
};

template <typename T, bool is_usm>
class raw_sum_func : public raw_outputs<T, is_usm> {
public:
    using raw_outputs<T, is_usm>::raw_outputs;

    void operator()(void* task) const {
        check_status(component<T>::edit_sums(
            task, pointer_of(this->first_), this->order2_.when(this->order2_.present()),
            this->order3_.when(this->order3_.present()), this->order4_.when(this->order4_.present()), nullptr,
            nullptr, nullptr));
        check_status(component<T>::compute(task,
                                           this->mask(est_sum, est_raw_sum2, est_raw_sum3, est_raw_sum4),
                                           static_cast<std::int32_t>(this->method_)));
    }
};

template <typename T, bool is_usm>
class raw_moment_func : public raw_outputs<T, is_usm> {
public:
    using raw_outputs<T, is_usm>::raw_outputs;

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(
            task, pointer_of(this->first_), this->order2_.when(this->order2_.present()),
            this->order3_.when(this->order3_.present()), this->order4_.when(this->order4_.present()), nullptr,
            nullptr, nullptr));
        check_status(component<T>::compute(task, this->mask(est_mean, est_raw2, est_raw3, est_raw4),
                                           static_cast<std::int32_t>(this->method_)));
    }
};

} // namespace aurelo::qtx::stats::detail::cpu
