#pragma once

#include "inputs.hpp"

#include "device/basic_submit.hpp"

#include <typeinfo>

namespace sweep {

/// The outputs of a functor and the spares of its buffer form, and the functor over them.
template <typename Functor, std::size_t n>
class bound_functor {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;

public:
    bound_functor(sycl::queue& queue, const setting& how) {
        // The last but one is optional wherever there are several.
        for (std::size_t k = 0; k < n; ++k) {
            const bool absent = how.masked && n > 1 && k == n - 2;
            outputs_.emplace_back(queue, std::vector<T>(absent ? 0 : n_dims, untouched<T>));
        }
        for (std::size_t k = 1; k < n; ++k) {
            spares_.emplace_back(queue, std::vector<T>(1));
        }
    }

    Functor make() {
        return [this]<std::size_t... k, std::size_t... s>(std::index_sequence<k...>,
                                                          std::index_sequence<s...>) {
            if constexpr (!usm) {
                return Functor(outputs_[k].argument()..., spares_[s].argument()...);
            } else if constexpr (std::is_constructible_v<Functor, decltype(outputs_[k].argument())...>) {
                return Functor(outputs_[k].argument()...);
            } else {
                return Functor{{}, outputs_[k].argument()...};
            }
        }
        (std::make_index_sequence<n>{}, std::make_index_sequence<n - 1>{});
    }

    arrays<T> values() {
        arrays<T> result;
        for (auto& each : outputs_) {
            result.push_back(each.values());
        }
        return result;
    }

private:
    std::vector<array<T, usm>> outputs_;
    std::vector<array<T, usm>> spares_;
};

template <typename T>
void fill(sycl::buffer<T, 1>& target, unsigned seed, bool positive = false) {
    const std::vector<T> values = integers<T>(target.size(), seed, positive);
    const sycl::host_accessor access(target, sycl::write_only);
    std::copy(values.begin(), values.end(), access.begin());
}

/// Scratch totals, and the record over them; filled, so that every element has a value to be compared.
template <typename Functor>
class scratch {
    using T = typename Functor::element_type;

public:
    template <typename View>
    scratch(sycl::queue& queue, const Functor& functor, const View& view, std::size_t row)
        : storage_(view, gpu::block_capacity(gpu::orders_of(functor), Functor::user_mean), row),
          mean_(queue, integers<T>(n_dims, 7)), tmp_(make(functor, view)) {
        fill(storage_.sums, 2);
        fill(storage_.weight_sums, 3, true);
        fill(storage_.weight_square_sums, 4, true);
    }

    auto& tmp() { return tmp_; }
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
    gpu::functor_tmp<Functor> tmp_;
};

/// The four launches of one functor, layout and width of mask.
template <typename Functor, std::size_t n, stats::layout L, bool index_64>
struct basic_launches {
    using T = typename Functor::element_type;
    static constexpr bool usm = Functor::usm;
    static constexpr bool user_mean = Functor::user_mean;
    using dataset = input<T, L, usm, index_64>;

    static arrays<T> single(sycl::queue& queue, const setting& how) {
        dataset data(queue, how, how.local_size);
        bound_functor<Functor, n> bound(queue, how);
        Functor functor = bound.make();
        scratch<Functor> totals(queue, functor, data.view(), 1);
        gpu::basic_single_step<usm, user_mean, T, L, Functor, index_64>(queue, data.view(), totals.tmp(),
                                                                        functor, how.local_size)
            .wait();
        arrays<T> result = bound.values();
        totals.append_to(result);
        return result;
    }

    static arrays<T> first(sycl::queue& queue, const setting& how) {
        dataset data(queue, how, row_of(how, n_groups));
        bound_functor<Functor, n> bound(queue, how);
        Functor functor = bound.make();
        scratch<Functor> totals(queue, functor, data.view(), n_groups);
        gpu::basic_first_step<usm, user_mean, T, L, Functor, index_64>(
            queue, data.view(), totals.tmp(), functor, how.local_size, n_groups, tail_of(how))
            .wait();
        arrays<T> result;
        totals.append_to(result);
        return result;
    }

    template <bool is_last>
    static arrays<T> next(sycl::queue& queue, const setting& how) {
        constexpr std::size_t groups = is_last ? 1 : n_groups;
        const std::size_t stride = is_last ? how.local_size : row_of(how, groups);
        dataset data(queue, how, how.local_size);
        bound_functor<Functor, n> bound(queue, how);
        Functor functor = bound.make();
        scratch<Functor> source(queue, functor, data.view(), stride);
        scratch<Functor> target(queue, functor, data.view(), groups);
        gpu::basic_next_step<is_last, usm, user_mean, T, L, Functor, index_64>(
            queue, data.view(), source.tmp(), target.tmp(), functor, how.local_size, groups,
            is_last ? 0 : tail_of(how), stride)
            .wait();
        arrays<T> result = bound.values();
        source.append_to(result);
        target.append_to(result);
        return result;
    }

    static void add(case_list& list, const std::string& group) {
        constexpr bool row = L == stats::layout::by_dimension;
        add_case<T>(list, typeid(gpu::basic_kernel_single_step<Functor, row, index_64>).name(), group,
                    &single);
        add_case<T>(list, typeid(gpu::basic_kernel_first_step<Functor, row, index_64>).name(), group, &first);
        add_case<T>(list, typeid(gpu::basic_kernel_next_step<Functor, row, false, index_64>).name(), group,
                    &next<false>);
        add_case<T>(list, typeid(gpu::basic_kernel_next_step<Functor, row, true, index_64>).name(), group,
                    &next<true>);
    }
};

template <typename Functor, std::size_t n, bool index_64>
void add_block(case_list& list, const std::string& group) {
    basic_launches<Functor, n, stats::layout::by_dimension, index_64>::add(list, group);
    basic_launches<Functor, n, stats::layout::by_observation, index_64>::add(list, group);
}

/// The blocks of a functor that the public forms run.
template <template <typename, bool> class Functor, std::size_t n>
void add_public(case_list& list, const std::string& name) {
    add_block<Functor<float, false>, n, true>(list, name + "<float>");
    add_block<Functor<float, true>, n, true>(list, name + "<float>");
    add_block<Functor<double, false>, n, true>(list, name + "<double>");
    add_block<Functor<double, true>, n, true>(list, name + "<double>");
}

/// The blocks with 32-bit masks, which offloaded tasks run.
template <template <typename, bool> class Functor, std::size_t n>
void add_offload(case_list& list, const std::string& name) {
    add_block<Functor<float, true>, n, false>(list, name + "<float>");
    add_block<Functor<double, true>, n, false>(list, name + "<double>");
}

/// The blocks of a functor that only offloaded tasks run.
template <template <typename, bool> class Functor, std::size_t n>
void add_extended(case_list& list, const std::string& name) {
    add_block<Functor<float, true>, n, true>(list, "ex::" + name + "<float>");
    add_block<Functor<double, true>, n, true>(list, "ex::" + name + "<double>");
    add_offload<Functor, n>(list, "ex::" + name);
}

} // namespace sweep
