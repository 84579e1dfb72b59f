#pragma once

#include "inputs.hpp"

#include "device/records.hpp"

#include "device/basic_launch.hpp"
#include "device/minmax_launch.hpp"

#include <typeinfo>

namespace sweep {

template <typename Functor>
constexpr bool is_minmax = requires {
    typename Functor::reductions;
};

/// The outputs of a functor and the spares of its buffer form, and the functor over them.
template <typename Functor, std::size_t n>
class bound_functor {
    using T = typename Functor::element_type;

public:
    bound_functor(sycl::queue& queue, const setting& how) {
        // The last but one is optional wherever a functor of sums has several.
        for (std::size_t k = 0; k < n; ++k) {
            const bool absent = how.masked && !is_minmax<Functor> && n > 1 && k == n - 2;
            outputs_.emplace_back(queue, std::vector<T>(absent ? 0 : n_dims, test::untouched<T>));
            spares_.emplace_back(queue, std::vector<T>(1));
        }
    }

    Functor make() {
        return [this]<std::size_t... k, std::size_t... s>(std::index_sequence<k...>,
                                                          std::index_sequence<s...>) {
            if constexpr (Functor::usm) {
                return test::record_of<Functor>(outputs_[k].argument()...);
            } else if constexpr (is_minmax<Functor>) {
                return Functor(outputs_[k].argument()...);
            } else {
                return Functor(outputs_[k].argument()..., spares_[s].argument()...);
            }
        }
        (std::make_index_sequence<n>{}, std::make_index_sequence<n - 1>{});
    }

    void append_to(arrays<T>& result) const {
        for (const auto& each : outputs_) {
            result.push_back(each.values());
        }
    }

private:
    std::vector<array<T, Functor::usm>> outputs_;
    std::vector<array<T, Functor::usm>> spares_;
};

template <typename T>
void fill(sycl::buffer<T, 1>& target, unsigned seed, bool positive = false) {
    const std::vector<T> values = integers<T>(target.size(), seed, positive);
    const sycl::host_accessor access(target, sycl::write_only);
    std::copy(values.begin(), values.end(), access.begin());
}

/// What a step of sums leaves for the next one, and the record over it; filled, so that every element has a value to be
/// compared.
template <typename Functor>
class between_steps {
    using T = typename Functor::element_type;

public:
    template <typename View>
    between_steps(sycl::queue& queue, const setting&, const Functor& functor, const View& view,
                  std::size_t row)
        : storage_(view, gpu::block_capacity(gpu::orders_of(functor), Functor::user_mean), row),
          mean_(queue, integers<T>(n_dims, 7)), record_(make(functor, view)) {
        fill(storage_.sums, 2);
        fill(storage_.weight_sums, 3, true);
        fill(storage_.weight_square_sums, 4, true);
    }

    auto& record() { return record_; }
    void append_to(arrays<T>& result) {
        result.push_back(test::from_buffer(storage_.sums));
        result.push_back(test::from_buffer(storage_.weight_sums));
        result.push_back(test::from_buffer(storage_.weight_square_sums));
    }

private:
    template <typename View>
    gpu::functor_tmp<Functor> make(const Functor& functor, const View& view) {
        if constexpr (Functor::user_mean) {
            auto&& mean = mean_.argument();
            return gpu::make_tmp(functor, storage_, view, mean);
        } else {
            return gpu::make_tmp(functor, storage_, view);
        }
    }

    gpu::basic_scratch<T> storage_;
    array<T, Functor::usm> mean_;
    gpu::functor_tmp<Functor> record_;
};

/// The same of extremes: one array for each reduction.
template <typename Functor>
requires is_minmax<Functor>
class between_steps<Functor> {
    using T = typename Functor::element_type;

public:
    template <typename View>
    between_steps(sycl::queue& queue, const setting& how, const Functor&, const View&, std::size_t row)
        : compared_(!how.masked || Functor::usm), first_(queue, integers<T>(n_dims * row, 2)),
          second_(queue, integers<T>(n_dims * row, 3)) {}

    gpu::minmax_arrays<Functor> record() {
        if constexpr (Functor::reductions::size == 1) {
            return {first_.argument()};
        } else {
            return {first_.argument(), second_.argument()};
        }
    }
    // Rows of masked dimensions stay unwritten, and the kernel need not keep what they held.
    void append_to(arrays<T>& result) const {
        if (compared_) {
            result.push_back(first_.values());
            result.push_back(second_.values());
        }
    }

private:
    bool compared_;
    array<T, Functor::usm> first_;
    array<T, Functor::usm> second_;
};

/// Elements of a row that \p groups groups handle.
inline std::size_t row_of(const setting& how, std::size_t groups) {
    const std::size_t full = groups * how.local_size;
    return how.tailed ? full - how.local_size / 2 : full;
}
inline std::size_t tail_of(const setting& how) {
    return how.tailed ? row_of(how, 1) % how.local_size : 0;
}

enum class step { single, first, next, last };

/// The four launches of one functor with n outputs, layout and width of mask.
template <typename Functor, std::size_t n, stats::layout L, bool index_64>
struct launches {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;

    template <step S>
    static arrays<T> run(sycl::queue& queue, const setting& how) {
        constexpr std::size_t groups = S == step::first || S == step::next ? n_groups : 1;
        const std::size_t row = groups == 1 ? how.local_size : row_of(how, groups);
        input<T, L, usm, index_64> data(queue, how, S == step::first ? row : how.local_size);
        bound_functor<Functor, n> bound(queue, how);
        Functor functor = bound.make();
        between_steps<Functor> source(queue, how, functor, data.view(), row);
        between_steps<Functor> target(queue, how, functor, data.view(), groups);
        submit<S>(queue, data.view(), source.record(), target.record(), functor, how.local_size, groups,
                  groups == 1 ? 0 : tail_of(how), row)
            .wait();
        arrays<T> result;
        bound.append_to(result);
        source.append_to(result);
        target.append_to(result);
        return result;
    }

    template <step S, typename View, typename Record>
    static sycl::event submit(sycl::queue& queue, View& view, Record&& source, Record&& target,
                              Functor& functor, std::size_t local_size, std::size_t groups, std::size_t tail,
                              std::size_t stride) {
        constexpr bool last = S == step::last;
        if constexpr (is_minmax<Functor>) {
            if constexpr (S == step::single) {
                return gpu::minmax_single_step<T, L, Functor, index_64>(queue, view, functor, local_size);
            } else if constexpr (S == step::first) {
                return gpu::minmax_first_step<T, L, Functor, index_64>(queue, view, functor, target,
                                                                       local_size, groups, tail);
            } else {
                return gpu::minmax_next_step<last, T, L, Functor, index_64>(
                    queue, view, functor, source, &target, local_size, groups, tail, stride);
            }
        } else {
            constexpr bool user_mean = Functor::user_mean;
            if constexpr (S == step::single) {
                return gpu::basic_single_step<usm, user_mean, T, L, Functor, index_64>(queue, view, target,
                                                                                       functor, local_size);
            } else if constexpr (S == step::first) {
                return gpu::basic_first_step<usm, user_mean, T, L, Functor, index_64>(
                    queue, view, target, functor, local_size, groups, tail);
            } else {
                return gpu::basic_next_step<last, usm, user_mean, T, L, Functor, index_64>(
                    queue, view, source, &target, functor, local_size, groups, tail, stride);
            }
        }
    }

    template <step S, typename Kernel>
    static void add_step(case_list& list, const char* group) {
        list.push_back({std::string("_ZTS") + typeid(Kernel).name(), group,
                        [](sycl::queue& a, sycl::queue& b, const setting& how) {
                            return difference<T>(run<S>(a, how), run<S>(b, how));
                        }});
    }

    static void add(case_list& list, const char* group) {
        constexpr bool row = L == stats::layout::by_dimension;
        if constexpr (is_minmax<Functor>) {
            add_step<step::single, gpu::minmax_kernel_single_step<Functor, row, index_64>>(list, group);
            add_step<step::first, gpu::minmax_kernel_first_step<Functor, row, index_64>>(list, group);
            add_step<step::next, gpu::minmax_kernel_next_step<Functor, row, false, index_64>>(list, group);
            add_step<step::last, gpu::minmax_kernel_next_step<Functor, row, true, index_64>>(list, group);
        } else {
            add_step<step::single, gpu::basic_kernel_single_step<Functor, row, index_64>>(list, group);
            add_step<step::first, gpu::basic_kernel_first_step<Functor, row, index_64>>(list, group);
            add_step<step::next, gpu::basic_kernel_next_step<Functor, row, false, index_64>>(list, group);
            add_step<step::last, gpu::basic_kernel_next_step<Functor, row, true, index_64>>(list, group);
        }
    }
};

template <template <typename, bool> class Functor, std::size_t n, typename T, bool usm, bool index_64>
void add_block(case_list& list) {
    const char* const group = typeid(Functor<T, true>).name();
    launches<Functor<T, usm>, n, stats::layout::by_dimension, index_64>::add(list, group);
    launches<Functor<T, usm>, n, stats::layout::by_observation, index_64>::add(list, group);
}

/// All kernels of a functor with n outputs, over buffers if a public form runs it, with masks of 32 bits if an offloaded
/// task does.
template <template <typename, bool> class Functor, std::size_t n, bool buffers, bool tasks>
void add(case_list& list) {
    const auto add_type = [&]<typename T>(T) {
        if constexpr (buffers) {
            add_block<Functor, n, T, false, true>(list);
        }
        add_block<Functor, n, T, true, true>(list);
        if constexpr (tasks) {
            add_block<Functor, n, T, true, false>(list);
        }
    };
    add_type(float());
    add_type(double());
}

} // namespace sweep
