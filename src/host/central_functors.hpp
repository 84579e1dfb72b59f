/**
 * \file central_functors.hpp
 * \brief Central sums and central moments by the CPU statistics component.
 *
 * Outputs of order 3 and 4 are optional. In the buffer shape the component is given the arrays of order 3
 * also when only order 4 is wanted; the mask alone says which orders are results.
 */
#pragma once

#include "arrays.hpp"
#include "task_bridge.hpp"

#include <cstdint>

namespace aurelo::qtx::stats::detail::cpu {

/** \brief Outputs of orders 2 to 4, the last two optional. */
template <typename T, bool is_usm>
class central_outputs {
public:
    central_outputs(sycl::buffer<T, 1>& second, sycl::buffer<T, 1>& third, sycl::buffer<T, 1>& fourth,
                    sycl::buffer<T, 1>& spare3, sycl::buffer<T, 1>& spare4) requires(!is_usm)
        : order2(second), order3(third, spare3), order4(fourth, spare4) {}

    central_outputs(T* second, T* third, T* fourth) requires is_usm : order2(second),
                                                                      order3(third),
                                                                      order4(fourth) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, order2, order3.accessor(), order4.accessor());
    }

    bool above_order2() const { return order3.present() || order4.present(); }
    std::uint64_t mask(std::uint64_t second, std::uint64_t third, std::uint64_t fourth) const {
        return second | if_present(order3, third) | if_present(order4, fourth);
    }

    /** \brief Registers the outputs as central sums. */
    void register_sums(void* task) const {
        edit_task_sum<T>(task, nullptr, nullptr, nullptr, nullptr, pointer_of(order2),
                         order3.when(above_order2()), order4.when(order4.present()));
    }

    array<T, is_usm> order2;
    optional_output<T, is_usm> order3;
    optional_output<T, is_usm> order4;
};

/** \brief The mean and the raw moments that the component may work in. */
template <typename T, bool is_usm>
struct moment_scratch {
    array<T, is_usm> mean;
    array<T, is_usm> raw2;
    array<T, is_usm> raw3;
    array<T, is_usm> raw4;

    moment_scratch(array_argument<T, is_usm> mean_, array_argument<T, is_usm> raw2_,
                   array_argument<T, is_usm> raw3_, array_argument<T, is_usm> raw4_)
        : mean(mean_), raw2(raw2_), raw3(raw3_), raw4(raw4_) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, mean, raw2, raw3, raw4); }
};

/** \brief Central sums, with the raw moments as arrays for the component to work in. */
template <typename T, bool is_usm>
class central_sum_func_fast {
public:
    central_sum_func_fast(const moment_scratch<T, is_usm>& scratch, const central_outputs<T, is_usm>& outputs)
        : scratch_(scratch), outputs_(outputs) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        scratch_.set_requirements(handler);
        outputs_.set_requirements(handler);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, pointer_of(scratch_.mean), pointer_of(scratch_.raw2),
                                                scratch_when(outputs_.above_order2(), scratch_.raw3),
                                                scratch_when(outputs_.order4.present(), scratch_.raw4),
                                                nullptr, nullptr, nullptr));
        outputs_.register_sums(task);
        compute<T>(task, outputs_.mask(est_central_sum2, est_central_sum3, est_central_sum4), method_code);
    }

private:
    static constexpr std::int64_t method_code = is_usm ? TSB_SS_METHOD_STANDARD : TSB_SS_METHOD_FAST;

    moment_scratch<T, is_usm> scratch_;
    central_outputs<T, is_usm> outputs_;
};

/** \brief Central sums with nothing but the mean beside them; the caller's mean with method_user_mean. */
template <typename T, bool is_usm>
class central_sum_func {
public:
    central_sum_func(array_argument<T, is_usm> mean, const central_outputs<T, is_usm>& outputs,
                     std::int64_t method)
        : mean_(mean), outputs_(outputs), method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        require_all(handler, mean_);
        outputs_.set_requirements(handler);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_task(task, param_mean, pointer_of(mean_)));
        outputs_.register_sums(task);
        compute<T>(task, outputs_.mask(est_central_sum2, est_central_sum3, est_central_sum4), method_);
    }

private:
    array<T, is_usm> mean_;
    central_outputs<T, is_usm> outputs_;
    std::int64_t method_;
};

/** \brief Central moments, by all methods. */
template <typename T, bool is_usm>
class central_moment_func {
public:
    central_moment_func(const moment_scratch<T, is_usm>& scratch, const central_outputs<T, is_usm>& outputs,
                        std::int64_t method)
        : scratch_(scratch), outputs_(outputs), method_(method) {}

    void set_requirements(sycl::handler& handler) const requires(!is_usm) {
        scratch_.set_requirements(handler);
        outputs_.set_requirements(handler);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, pointer_of(scratch_.mean), pointer_of(scratch_.raw2),
                                                scratch_when(outputs_.above_order2(), scratch_.raw3),
                                                scratch_when(outputs_.order4.present(), scratch_.raw4),
                                                pointer_of(outputs_.order2),
                                                outputs_.order3.when(outputs_.order3.present()),
                                                outputs_.order4.when(outputs_.order4.present())));
        check_status(component<T>::compute(task, outputs_.mask(est_central2, est_central3, est_central4),
                                           static_cast<std::int32_t>(method_)));
    }

private:
    moment_scratch<T, is_usm> scratch_;
    central_outputs<T, is_usm> outputs_;
    std::int64_t method_;
};

} // namespace aurelo::qtx::stats::detail::cpu
