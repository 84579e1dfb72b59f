/**
 * \file extrema_functors.hpp
 * \brief max, min and min_max by the CPU statistics component.
 *
 * A host functor is copied into a host task and called there with a task of the component: it registers its
 * arrays and asks for its estimate. It throws computation_error as soon as one call fails.
 */
#pragma once

#include "arrays.hpp"
#include "task_bridge.hpp"

#include <cstdint>

namespace aurelo::qtx::stats::detail::cpu {

/** \brief Estimates of one array that needs no other: \p parameter names the array, \p estimate the mask. */
template <typename T, bool is_usm, std::int64_t parameter, std::uint64_t estimate>
class single_array_func {
public:
    single_array_func(array_argument<T, is_usm> out, std::int64_t method) : out_(out), method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) { require_all(handler, out_); }

    void operator()(void* task) const {
        check_status(component<T>::edit_task(task, parameter, pointer_of(out_)));
        check_status(component<T>::compute(task, estimate, static_cast<std::int32_t>(method_)));
    }

private:
    array<T, is_usm> out_;
    std::int64_t method_;
};

template <typename T, bool is_usm>
using max_func = single_array_func<T, is_usm, param_max, est_max>;

template <typename T, bool is_usm>
using min_func = single_array_func<T, is_usm, param_min, est_min>;

template <typename T, bool is_usm>
using mean_func = single_array_func<T, is_usm, param_mean, est_mean>;

template <typename T, bool is_usm>
class min_max_func {
public:
    min_max_func(array_argument<T, is_usm> min, array_argument<T, is_usm> max, std::int64_t method)
        : min_(min), max_(max), method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, min_, max_);
    }

    void operator()(void* task) const {
        edit_task<T>(task, param_min, pointer_of(min_));
        edit_task<T>(task, param_max, pointer_of(max_));
        check_status(component<T>::compute(task, est_min | est_max, static_cast<std::int32_t>(method_)));
    }

private:
    array<T, is_usm> min_;
    array<T, is_usm> max_;
    std::int64_t method_;
};

} // namespace aurelo::qtx::stats::detail::cpu
