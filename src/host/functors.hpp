/**
 * \file functors.hpp
 * \brief One class per estimate that registers arrays with a task of the CPU statistics component and asks for the
 * estimate.
 *
 * Buffer form (`is_usm` false): arrays are placeholder accessors. An accessor cannot be absent, so that an optional
 * output of size 0 is replaced by a spare of one element, and a flag tells whether the output is there. USM form:
 * arrays are pointers, filled in field by field, and absent ones are null.
 *
 * The call operators throw computation_error as soon as one call fails; no further call is made then.
 */
#pragma once

#include "task_bridge.hpp"

#include <sycl/sycl.hpp>

#include <cstdint>

namespace aurelo::qtx::stats::detail::cpu {

// The classes, each in its two forms.
template <typename T, bool is_usm>
struct max_func;
template <typename T, bool is_usm>
struct min_func;
template <typename T, bool is_usm>
struct min_max_func;
template <typename T, bool is_usm>
struct mean_func;
template <typename T, bool is_usm>
struct raw_sum_func;
template <typename T, bool is_usm>
struct raw_moment_func;
/** \brief Central sums, with the raw moments as arrays for the component to work in. */
template <typename T, bool is_usm>
struct central_sum_func_fast;
/** \brief Central sums with only the mean beside them: scratch, or the caller's with method_user_mean. */
template <typename T, bool is_usm>
struct central_sum_func;
template <typename T, bool is_usm>
struct central_moment_func;
template <typename T, bool is_usm>
struct variation_func;
template <typename T, bool is_usm>
struct skewness_func;
template <typename T, bool is_usm>
struct kurtosis_func;

template <typename T>
using array_accessor = sycl::accessor<T, 1, sycl::access::mode::read_write, sycl::target::device>;

template <typename T>
T* pointer_of(const array_accessor<T>& array) {
    return array.template get_multi_ptr<sycl::access::decorated::no>().get();
}
template <typename T>
T* pointer_if(bool condition, const array_accessor<T>& array) {
    return condition ? pointer_of(array) : nullptr;
}

constexpr std::uint64_t bit_if(bool condition, std::uint64_t bit) {
    return condition ? bit : 0;
}

/** \brief What an accessor is made of for an optional output. */
template <typename T>
sycl::buffer<T, 1>& output_or_spare(sycl::buffer<T, 1>& output, sycl::buffer<T, 1>& spare) {
    return output.size() != 0 ? output : spare;
}

template <typename... Accessors>
void require_all(sycl::handler& handler, const Accessors&... accessors) {
    (handler.require(accessors), ...);
}
template <typename Accessor>
void require_if_not_empty(sycl::handler& handler, const Accessor& accessor) {
    if (accessor.get_range().size() != 0) {
        handler.require(accessor);
    }
}

/** \brief Registers the one result of an estimate and computes it. */
template <typename T>
void compute_single(void* task, std::int64_t parameter, T* out, std::uint64_t estimate, std::int64_t method) {
    check_status(component<T>::edit_task(task, parameter, out));
    check_status(component<T>::compute(task, estimate, static_cast<std::int32_t>(method)));
}

template <typename T>
struct max_func<T, false> {
    array_accessor<T> out;
    std::int64_t method;

    max_func(sycl::buffer<T, 1> out_, std::int64_t method_) : out(out_), method(method_) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, out); }
    void operator()(void* task) const { compute_single(task, param_max, pointer_of(out), est_max, method); }
};

template <typename T>
struct max_func<T, true> {
    T* out;
    std::int64_t method;

    void operator()(void* task) const { compute_single(task, param_max, out, est_max, method); }
};

template <typename T>
struct min_func<T, false> {
    array_accessor<T> out;
    std::int64_t method;

    min_func(sycl::buffer<T, 1> out_, std::int64_t method_) : out(out_), method(method_) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, out); }
    void operator()(void* task) const { compute_single(task, param_min, pointer_of(out), est_min, method); }
};

template <typename T>
struct min_func<T, true> {
    T* out;
    std::int64_t method;

    void operator()(void* task) const { compute_single(task, param_min, out, est_min, method); }
};

template <typename T>
void compute_min_max(void* task, T* min, T* max, std::int64_t method) {
    edit_task<T>(task, param_min, min);
    edit_task<T>(task, param_max, max);
    check_status(component<T>::compute(task, est_min | est_max, static_cast<std::int32_t>(method)));
}

template <typename T>
struct min_max_func<T, false> {
    array_accessor<T> min, max;
    std::int64_t method;

    min_max_func(sycl::buffer<T, 1> min_, sycl::buffer<T, 1> max_, std::int64_t method_)
        : min(min_), max(max_), method(method_) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, min, max); }
    void operator()(void* task) const { compute_min_max(task, pointer_of(min), pointer_of(max), method); }
};

template <typename T>
struct min_max_func<T, true> {
    T *min, *max;
    std::int64_t method;

    void operator()(void* task) const { compute_min_max(task, min, max, method); }
};

template <typename T>
struct mean_func<T, false> {
    array_accessor<T> out;
    std::int64_t method;

    mean_func(sycl::buffer<T, 1> out_, std::int64_t method_) : out(out_), method(method_) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, out); }
    void operator()(void* task) const { compute_single(task, param_mean, pointer_of(out), est_mean, method); }
};

template <typename T>
struct mean_func<T, true> {
    T* out;
    std::int64_t method;

    void operator()(void* task) const { compute_single(task, param_mean, out, est_mean, method); }
};

/** \brief Sums of the orders that have an array. */
template <typename T>
void compute_raw_sums(void* task, T* sum, T* sum2, T* sum3, T* sum4, std::int64_t method) {
    check_status(component<T>::edit_sums(task, sum, sum2, sum3, sum4, nullptr, nullptr, nullptr));
    const std::uint64_t estimates = est_sum | bit_if(sum2 != nullptr, est_raw_sum2) |
                                    bit_if(sum3 != nullptr, est_raw_sum3) |
                                    bit_if(sum4 != nullptr, est_raw_sum4);
    check_status(component<T>::compute(task, estimates, static_cast<std::int32_t>(method)));
}

template <typename T>
struct raw_sum_func<T, false> {
    array_accessor<T> sum, sum2, sum3, sum4;
    std::int64_t method;
    bool has_order2, has_order3, has_order4;

    raw_sum_func(sycl::buffer<T, 1> sum_, sycl::buffer<T, 1> sum2_, sycl::buffer<T, 1> sum3_,
                 sycl::buffer<T, 1> sum4_, sycl::buffer<T, 1> spare2, sycl::buffer<T, 1> spare3,
                 sycl::buffer<T, 1> spare4, std::int64_t method_)
        : sum(sum_), sum2(output_or_spare(sum2_, spare2)), sum3(output_or_spare(sum3_, spare3)),
          sum4(output_or_spare(sum4_, spare4)), method(method_), has_order2(sum2_.size() != 0),
          has_order3(sum3_.size() != 0), has_order4(sum4_.size() != 0) {}

    void set_requirements(sycl::handler& handler) const {
        handler.require(sum);
        require_if_not_empty(handler, sum2);
        require_if_not_empty(handler, sum3);
        require_if_not_empty(handler, sum4);
    }

    void operator()(void* task) const {
        compute_raw_sums(task, pointer_of(sum), pointer_if(has_order2, sum2), pointer_if(has_order3, sum3),
                         pointer_if(has_order4, sum4), method);
    }
};

template <typename T>
struct raw_sum_func<T, true> {
    T *sum, *sum2, *sum3, *sum4;
    std::int64_t method;

    void operator()(void* task) const { compute_raw_sums(task, sum, sum2, sum3, sum4, method); }
};

/** \brief The mean, and moments of the orders that have an array. */
template <typename T>
void compute_raw_moments(void* task, T* mean, T* raw2, T* raw3, T* raw4, std::int64_t method) {
    check_status(component<T>::edit_moments(task, mean, raw2, raw3, raw4, nullptr, nullptr, nullptr));
    const std::uint64_t estimates = est_mean | bit_if(raw2 != nullptr, est_raw2) |
                                    bit_if(raw3 != nullptr, est_raw3) | bit_if(raw4 != nullptr, est_raw4);
    check_status(component<T>::compute(task, estimates, static_cast<std::int32_t>(method)));
}

template <typename T>
struct raw_moment_func<T, false> {
    array_accessor<T> mean, raw2, raw3, raw4;
    std::int64_t method;
    bool has_order2, has_order3, has_order4;

    raw_moment_func(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> raw2_, sycl::buffer<T, 1> raw3_,
                    sycl::buffer<T, 1> raw4_, sycl::buffer<T, 1> spare2, sycl::buffer<T, 1> spare3,
                    sycl::buffer<T, 1> spare4, std::int64_t method_)
        : mean(mean_), raw2(output_or_spare(raw2_, spare2)), raw3(output_or_spare(raw3_, spare3)),
          raw4(output_or_spare(raw4_, spare4)), method(method_), has_order2(raw2_.size() != 0),
          has_order3(raw3_.size() != 0), has_order4(raw4_.size() != 0) {}

    void set_requirements(sycl::handler& handler) const {
        handler.require(mean);
        require_if_not_empty(handler, raw2);
        require_if_not_empty(handler, raw3);
        require_if_not_empty(handler, raw4);
    }

    void operator()(void* task) const {
        compute_raw_moments(task, pointer_of(mean), pointer_if(has_order2, raw2),
                            pointer_if(has_order3, raw3), pointer_if(has_order4, raw4), method);
    }
};

template <typename T>
struct raw_moment_func<T, true> {
    T *mean, *raw2, *raw3, *raw4;
    std::int64_t method;

    void operator()(void* task) const { compute_raw_moments(task, mean, raw2, raw3, raw4, method); }
};

// In the buffer form the arrays of order 3 go to the component also where only order 4 is wanted. The estimate mask alone
// says which orders are results.

constexpr std::uint64_t central_sums(bool has_order3, bool has_order4) {
    return est_central_sum2 | bit_if(has_order3, est_central_sum3) | bit_if(has_order4, est_central_sum4);
}

template <typename T>
struct central_sum_func_fast<T, false> {
    array_accessor<T> mean, raw2, raw3, raw4, sum2, sum3, sum4;
    bool has_order3, has_order4;

    central_sum_func_fast(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> raw2_, sycl::buffer<T, 1> raw3_,
                          sycl::buffer<T, 1> raw4_, sycl::buffer<T, 1> sum2_, sycl::buffer<T, 1> sum3_,
                          sycl::buffer<T, 1> sum4_, sycl::buffer<T, 1> spare3, sycl::buffer<T, 1> spare4)
        : mean(mean_), raw2(raw2_), raw3(raw3_), raw4(raw4_), sum2(sum2_),
          sum3(output_or_spare(sum3_, spare3)), sum4(output_or_spare(sum4_, spare4)),
          has_order3(sum3_.size() != 0), has_order4(sum4_.size() != 0) {}

    void set_requirements(sycl::handler& handler) const {
        require_all(handler, mean, raw2, raw3, raw4, sum2, sum3, sum4);
    }

    void operator()(void* task) const {
        const bool above_order2 = has_order3 || has_order4;
        check_status(component<T>::edit_moments(task, pointer_of(mean), pointer_of(raw2),
                                                pointer_if(above_order2, raw3), pointer_if(has_order4, raw4),
                                                nullptr, nullptr, nullptr));
        edit_task_sum<T>(task, nullptr, nullptr, nullptr, nullptr, pointer_of(sum2),
                         pointer_if(above_order2, sum3), pointer_if(has_order4, sum4));
        compute<T>(task, central_sums(has_order3, has_order4), TSB_SS_METHOD_FAST);
    }
};

template <typename T>
struct central_sum_func_fast<T, true> {
    T *mean, *raw2, *raw3, *raw4, *sum2, *sum3, *sum4;

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, mean, raw2, raw3, raw4, nullptr, nullptr, nullptr));
        edit_task_sum<T>(task, nullptr, nullptr, nullptr, nullptr, sum2, sum3, sum4);
        compute<T>(task, central_sums(sum3 != nullptr, sum4 != nullptr), TSB_SS_METHOD_STANDARD);
    }
};

template <typename T>
struct central_sum_func<T, false> {
    array_accessor<T> mean, sum2, sum3, sum4;
    std::int64_t method;
    bool has_order3, has_order4;

    central_sum_func(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> sum2_, sycl::buffer<T, 1> sum3_,
                     sycl::buffer<T, 1> sum4_, sycl::buffer<T, 1> spare3, sycl::buffer<T, 1> spare4,
                     std::int64_t method_)
        : mean(mean_), sum2(sum2_), sum3(output_or_spare(sum3_, spare3)),
          sum4(output_or_spare(sum4_, spare4)), method(method_), has_order3(sum3_.size() != 0),
          has_order4(sum4_.size() != 0) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, mean, sum2, sum3, sum4); }

    void operator()(void* task) const {
        check_status(component<T>::edit_task(task, param_mean, pointer_of(mean)));
        edit_task_sum<T>(task, nullptr, nullptr, nullptr, nullptr, pointer_of(sum2),
                         pointer_if(has_order3 || has_order4, sum3), pointer_if(has_order4, sum4));
        compute<T>(task, central_sums(has_order3, has_order4), method);
    }
};

template <typename T>
struct central_sum_func<T, true> {
    T *mean, *sum2, *sum3, *sum4;
    std::int64_t method;

    void operator()(void* task) const {
        check_status(component<T>::edit_task(task, param_mean, mean));
        edit_task_sum<T>(task, nullptr, nullptr, nullptr, nullptr, sum2, sum3, sum4);
        compute<T>(task, central_sums(sum3 != nullptr, sum4 != nullptr), method);
    }
};

constexpr std::uint64_t central_moments(bool has_order3, bool has_order4) {
    return est_central2 | bit_if(has_order3, est_central3) | bit_if(has_order4, est_central4);
}

template <typename T>
struct central_moment_func<T, false> {
    array_accessor<T> mean, raw2, raw3, raw4, central2, central3, central4;
    std::int64_t method;
    bool has_order3, has_order4;

    central_moment_func(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> raw2_, sycl::buffer<T, 1> raw3_,
                        sycl::buffer<T, 1> raw4_, sycl::buffer<T, 1> central2_, sycl::buffer<T, 1> central3_,
                        sycl::buffer<T, 1> central4_, sycl::buffer<T, 1> spare3, sycl::buffer<T, 1> spare4,
                        std::int64_t method_)
        : mean(mean_), raw2(raw2_), raw3(raw3_), raw4(raw4_), central2(central2_),
          central3(output_or_spare(central3_, spare3)), central4(output_or_spare(central4_, spare4)),
          method(method_), has_order3(central3_.size() != 0), has_order4(central4_.size() != 0) {}

    void set_requirements(sycl::handler& handler) const {
        require_all(handler, mean, raw2, raw3, raw4, central2, central3, central4);
    }

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(
            task, pointer_of(mean), pointer_of(raw2), pointer_if(has_order3 || has_order4, raw3),
            pointer_if(has_order4, raw4), pointer_of(central2), pointer_if(has_order3, central3),
            pointer_if(has_order4, central4)));
        check_status(component<T>::compute(task, central_moments(has_order3, has_order4),
                                           static_cast<std::int32_t>(method)));
    }
};

template <typename T>
struct central_moment_func<T, true> {
    T *mean, *raw2, *raw3, *raw4, *central2, *central3, *central4;
    std::int64_t method;

    void operator()(void* task) const {
        check_status(component<T>::edit_moments(task, mean, raw2, raw3, raw4, central2, central3, central4));
        check_status(component<T>::compute(task, central_moments(central3 != nullptr, central4 != nullptr),
                                           static_cast<std::int32_t>(method)));
    }
};

template <typename T>
void compute_variation(void* task, T* mean, T* raw2, T* central2, T* out, std::int64_t method) {
    check_status(component<T>::edit_moments(task, mean, raw2, nullptr, nullptr, central2, nullptr, nullptr));
    compute_single(task, param_variation, out, est_variation, method);
}

template <typename T>
struct variation_func<T, false> {
    array_accessor<T> mean, raw2, central2, out;
    std::int64_t method;

    variation_func(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> raw2_, sycl::buffer<T, 1> central2_,
                   sycl::buffer<T, 1> out_, std::int64_t method_)
        : mean(mean_), raw2(raw2_), central2(central2_), out(out_), method(method_) {}

    void set_requirements(sycl::handler& handler) const { require_all(handler, mean, raw2, central2, out); }

    void operator()(void* task) const {
        compute_variation(task, pointer_of(mean), pointer_of(raw2), pointer_of(central2), pointer_of(out),
                          method);
    }
};

template <typename T>
struct variation_func<T, true> {
    T *mean, *raw2, *central2, *out;
    std::int64_t method;

    void operator()(void* task) const { compute_variation(task, mean, raw2, central2, out, method); }
};

template <typename T>
void compute_skewness(void* task, T* mean, T* raw2, T* raw3, T* central2, T* central3, T* out,
                      std::int64_t method) {
    check_status(component<T>::edit_moments(task, mean, raw2, raw3, nullptr, central2, central3, nullptr));
    compute_single(task, param_skewness, out, est_skewness, method);
}

template <typename T>
struct skewness_func<T, false> {
    array_accessor<T> mean, raw2, raw3, central2, central3, out;
    std::int64_t method;

    skewness_func(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> raw2_, sycl::buffer<T, 1> raw3_,
                  sycl::buffer<T, 1> central2_, sycl::buffer<T, 1> central3_, sycl::buffer<T, 1> out_,
                  std::int64_t method_)
        : mean(mean_), raw2(raw2_), raw3(raw3_), central2(central2_), central3(central3_), out(out_),
          method(method_) {}

    void set_requirements(sycl::handler& handler) const {
        require_all(handler, mean, raw2, raw3, central2, central3, out);
    }

    void operator()(void* task) const {
        compute_skewness(task, pointer_of(mean), pointer_of(raw2), pointer_of(raw3), pointer_of(central2),
                         pointer_of(central3), pointer_of(out), method);
    }
};

template <typename T>
struct skewness_func<T, true> {
    T *mean, *raw2, *raw3, *central2, *central3, *out;
    std::int64_t method;

    void operator()(void* task) const {
        compute_skewness(task, mean, raw2, raw3, central2, central3, out, method);
    }
};

template <typename T>
void compute_kurtosis(void* task, T* mean, T* raw2, T* raw3, T* raw4, T* central2, T* central4, T* out,
                      std::int64_t method) {
    check_status(component<T>::edit_moments(task, mean, raw2, raw3, raw4, central2, nullptr, central4));
    compute_single(task, param_kurtosis, out, est_kurtosis, method);
}

template <typename T>
struct kurtosis_func<T, false> {
    array_accessor<T> mean, raw2, raw3, raw4, central2, central4, out;
    std::int64_t method;

    kurtosis_func(sycl::buffer<T, 1> mean_, sycl::buffer<T, 1> raw2_, sycl::buffer<T, 1> raw3_,
                  sycl::buffer<T, 1> raw4_, sycl::buffer<T, 1> central2_, sycl::buffer<T, 1> central4_,
                  sycl::buffer<T, 1> out_, std::int64_t method_)
        : mean(mean_), raw2(raw2_), raw3(raw3_), raw4(raw4_), central2(central2_), central4(central4_),
          out(out_), method(method_) {}

    void set_requirements(sycl::handler& handler) const {
        require_all(handler, mean, raw2, raw3, raw4, central2, central4, out);
    }

    void operator()(void* task) const {
        compute_kurtosis(task, pointer_of(mean), pointer_of(raw2), pointer_of(raw3), pointer_of(raw4),
                         pointer_of(central2), pointer_of(central4), pointer_of(out), method);
    }
};

template <typename T>
struct kurtosis_func<T, true> {
    T *mean, *raw2, *raw3, *raw4, *central2, *central4, *out;
    std::int64_t method;

    void operator()(void* task) const {
        compute_kurtosis(task, mean, raw2, raw3, raw4, central2, central4, out, method);
    }
};

} // namespace aurelo::qtx::stats::detail::cpu
