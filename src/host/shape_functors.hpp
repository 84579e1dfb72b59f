/**
 * \file shape_functors.hpp
 * \brief Variation, skewness and kurtosis by the CPU statistics component.
 */
#pragma once

#include "arrays.hpp"
#include "task_bridge.hpp"

#include <cstdint>

namespace aurelo::qtx::stats::detail::cpu {

/** \brief Registers the one result and asks for it, after the moments that lead to it. */
template <typename T>
void compute_one(void* task, std::int64_t parameter, T* out, std::uint64_t estimate, std::int64_t method) {
    check_status(component<T>::edit_task(task, parameter, out));
    check_status(component<T>::compute(task, estimate, static_cast<std::int32_t>(method)));
}

template <typename T, bool is_usm>
class variation_func {
    using argument = array_argument<T, is_usm>;

public:
    variation_func(argument mean, argument raw2, argument central2, argument out, std::int64_t method)
        : mean_(mean), raw2_(raw2), central2_(central2), out_(out), method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, mean_, raw2_, central2_, out_);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, pointer_of(mean_), pointer_of(raw2_), nullptr, nullptr,
                                                pointer_of(central2_), nullptr, nullptr));
        compute_one<T>(task, param_variation, pointer_of(out_), est_variation, method_);
    }

private:
    array<T, is_usm> mean_;
    array<T, is_usm> raw2_;
    array<T, is_usm> central2_;
    array<T, is_usm> out_;
    std::int64_t method_;
};

template <typename T, bool is_usm>
class skewness_func {
    using argument = array_argument<T, is_usm>;

public:
    skewness_func(argument mean, argument raw2, argument raw3, argument central2, argument central3,
                  argument out, std::int64_t method)
        : mean_(mean), raw2_(raw2), raw3_(raw3), central2_(central2), central3_(central3), out_(out),
          method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, mean_, raw2_, raw3_, central2_, central3_, out_);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, pointer_of(mean_), pointer_of(raw2_), pointer_of(raw3_),
                                                nullptr, pointer_of(central2_), pointer_of(central3_),
                                                nullptr));
        compute_one<T>(task, param_skewness, pointer_of(out_), est_skewness, method_);
    }

private:
    array<T, is_usm> mean_;
    array<T, is_usm> raw2_;
    array<T, is_usm> raw3_;
    array<T, is_usm> central2_;
    array<T, is_usm> central3_;
    array<T, is_usm> out_;
    std::int64_t method_;
};

template <typename T, bool is_usm>
class kurtosis_func {
    using argument = array_argument<T, is_usm>;

public:
    kurtosis_func(argument mean, argument raw2, argument raw3, argument raw4, argument central2,
                  argument central4, argument out, std::int64_t method)
        : mean_(mean), raw2_(raw2), raw3_(raw3), raw4_(raw4), central2_(central2), central4_(central4),
          out_(out), method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, mean_, raw2_, raw3_, raw4_, central2_, central4_, out_);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, pointer_of(mean_), pointer_of(raw2_), pointer_of(raw3_),
                                                pointer_of(raw4_), pointer_of(central2_), nullptr,
                                                pointer_of(central4_)));
        compute_one<T>(task, param_kurtosis, pointer_of(out_), est_kurtosis, method_);
    }

private:
    array<T, is_usm> mean_;
    array<T, is_usm> raw2_;
    array<T, is_usm> raw3_;
    array<T, is_usm> raw4_;
    array<T, is_usm> central2_;
    array<T, is_usm> central4_;
    array<T, is_usm> out_;
    std::int64_t method_;
};

} // namespace aurelo::qtx::stats::detail::cpu
