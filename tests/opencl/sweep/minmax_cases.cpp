#include "inputs.hpp"

#include "device/minmax_submit.hpp"

#include <typeinfo>

namespace sweep {

namespace {

/// One array for each reduction of a functor.
template <typename Functor>
class reduction_arrays {
    using T = typename Functor::element_type;
    static constexpr std::size_t n = Functor::reductions::size;

public:
    reduction_arrays(sycl::queue& queue, const std::vector<T>& first, const std::vector<T>& second)
        : first_(queue, first), second_(queue, second) {}

    Functor functor() {
        if constexpr (n == 1) {
            return Functor(first_.argument());
        } else {
            return Functor(first_.argument(), second_.argument());
        }
    }
    gpu::minmax_arrays<Functor> partials() {
        if constexpr (n == 1) {
            return {first_.argument()};
        } else {
            return {first_.argument(), second_.argument()};
        }
    }
    void append_to(arrays<T>& result) {
        result.push_back(first_.values());
        result.push_back(second_.values());
    }

private:
    array<T, Functor::usm> first_;
    array<T, Functor::usm> second_;
};

template <typename Functor, stats::layout L, bool index_64>
struct minmax_launches {
    using T = typename Functor::element_type;
    using dataset = input<T, L, Functor::usm, index_64>;
    using bound = reduction_arrays<Functor>;

    static bound outputs(sycl::queue& queue) {
        const std::vector<T> start(n_dims, untouched<T>);
        return bound(queue, start, start);
    }
    static bound partials(sycl::queue& queue, std::size_t row) {
        return bound(queue, integers<T>(n_dims * row, 2), integers<T>(n_dims * row, 3));
    }

    static arrays<T> single(sycl::queue& queue, const setting& how) {
        dataset data(queue, how, how.local_size);
        bound out = outputs(queue);
        Functor functor = out.functor();
        gpu::minmax_single_step<T, L, Functor, index_64>(queue, data.view(), functor, how.local_size).wait();
        arrays<T> result;
        out.append_to(result);
        return result;
    }

    static arrays<T> first(sycl::queue& queue, const setting& how) {
        dataset data(queue, how, row_of(how, n_groups));
        bound out = outputs(queue);
        bound target = partials(queue, n_groups);
        Functor functor = out.functor();
        gpu::minmax_first_step<T, L, Functor, index_64>(queue, data.view(), functor, target.partials(),
                                                        how.local_size, n_groups, tail_of(how))
            .wait();
        arrays<T> result;
        // Rows of masked dimensions stay unwritten, and the kernel need not keep what they held.
        if (!how.masked || Functor::usm) {
            target.append_to(result);
        }
        return result;
    }

    template <bool is_last>
    static arrays<T> next(sycl::queue& queue, const setting& how) {
        constexpr std::size_t groups = is_last ? 1 : n_groups;
        const std::size_t stride = is_last ? how.local_size : row_of(how, groups);
        dataset data(queue, how, how.local_size);
        bound out = outputs(queue);
        bound source = partials(queue, stride);
        bound target = partials(queue, groups);
        Functor functor = out.functor();
        gpu::minmax_next_step<is_last, T, L, Functor, index_64>(
            queue, data.view(), functor, source.partials(), target.partials(), how.local_size, groups,
            is_last ? 0 : tail_of(how), stride)
            .wait();
        arrays<T> result;
        out.append_to(result);
        source.append_to(result);
        if (!how.masked || Functor::usm) {
            target.append_to(result);
        }
        return result;
    }

    static void add(case_list& list, const std::string& group) {
        constexpr bool row = L == stats::layout::by_dimension;
        add_case<T>(list, typeid(gpu::minmax_kernel_single_step<Functor, row, index_64>).name(), group,
                    &single);
        add_case<T>(list, typeid(gpu::minmax_kernel_first_step<Functor, row, index_64>).name(), group,
                    &first);
        add_case<T>(list, typeid(gpu::minmax_kernel_next_step<Functor, row, false, index_64>).name(), group,
                    &next<false>);
        add_case<T>(list, typeid(gpu::minmax_kernel_next_step<Functor, row, true, index_64>).name(), group,
                    &next<true>);
    }
};

template <typename Functor, bool index_64>
void add_block(case_list& list, const std::string& group) {
    minmax_launches<Functor, stats::layout::by_dimension, index_64>::add(list, group);
    minmax_launches<Functor, stats::layout::by_observation, index_64>::add(list, group);
}

template <template <typename, bool> class Functor>
void add_functor(case_list& list, const std::string& name, bool offload) {
    add_block<Functor<float, false>, true>(list, name + "<float>");
    add_block<Functor<float, true>, true>(list, name + "<float>");
    add_block<Functor<double, false>, true>(list, name + "<double>");
    add_block<Functor<double, true>, true>(list, name + "<double>");
    if (offload) {
        add_block<Functor<float, true>, false>(list, name + "<float>");
        add_block<Functor<double, true>, false>(list, name + "<double>");
    }
}

} // namespace

void add_minmax(case_list& list) {
    add_functor<gpu::max_func_fast>(list, "max_func_fast", true);
    add_functor<gpu::min_func_fast>(list, "min_func_fast", true);
    add_functor<gpu::min_max_func_fast>(list, "min_max_func_fast", false);
}

} // namespace sweep
