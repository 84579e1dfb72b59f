#include "kernels.hpp"

namespace test {

namespace {

template <typename T>
using reading = sycl::accessor<T, 1, sycl::access_mode::read, sycl::target::device>;
template <typename T>
using writing = sycl::accessor<T, 1, sycl::access_mode::write, sycl::target::device>;

} // namespace

template <typename T>
struct sum_of_squares_kernel {
    using element_type = T;

    reading<T> in;
    writing<T> out;
    sycl::local_accessor<T, 1> tile;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t size = item.get_local_range(0);
        item.wait_for(item.async_work_group_copy(tile.template get_multi_ptr<sycl::access::decorated::yes>(),
                                                 in.template get_multi_ptr<sycl::access::decorated::yes>() +
                                                     static_cast<std::ptrdiff_t>(item.get_group(0) * size),
                                                 size));
        const T x = tile[size - 1 - item.get_local_id(0)];
        const T sum = sycl::reduce_over_group(item.get_group(), sycl::mad(x, x, T(0)), T(0), sycl::plus<T>{});
        if (item.get_local_id(0) == 0) {
            out[item.get_group(0)] = sum;
        }
    }
};

template <typename T>
sycl::event sum_of_squares(sycl::queue& queue, sycl::buffer<T, 1>& in, sycl::buffer<T, 1>& out,
                           std::size_t local_size) {
    return queue.submit([&](sycl::handler& handler) {
        const reading<T> source(in, handler);
        const writing<T> target(out, handler);
        const sycl::local_accessor<T, 1> tile(sycl::range<1>(local_size), handler);
        handler.parallel_for<sum_of_squares_kernel<T>>(sycl::nd_range<1>(in.size(), local_size),
                                                       sum_of_squares_kernel<T>{source, target, tile});
    });
}

template <typename T>
struct scale_and_count_kernel {
    using element_type = T;

    T* values;
    T factor;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t i = item.get_global_id(0);
        values[i] = values[i] * factor + static_cast<T>(i);
    }
};

template <typename T>
sycl::event scale_and_count(sycl::queue& queue, T* values, std::size_t n, T factor,
                            const std::vector<sycl::event>& dependencies) {
    return queue.submit([&](sycl::handler& handler) {
        handler.depends_on(dependencies);
        handler.parallel_for<scale_and_count_kernel<T>>(sycl::nd_range<1>(n, 1),
                                                        scale_and_count_kernel<T>{values, factor});
    });
}

template <typename T>
struct describe_group_kernel {
    using element_type = T;

    const T* values;
    T* smallest_largest_sum;
    sycl::local_accessor<T, 1> forward;
    sycl::local_accessor<T, 1> backward;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t lane = item.get_local_id(0);
        const auto group = item.get_group();
        forward[lane] = values[lane];
        backward[item.get_local_range(0) - 1 - lane] = values[lane];
        sycl::group_barrier(group);
        const T smallest = sycl::reduce_over_group(group, forward[lane], sycl::minimum<T>{});
        const T largest = sycl::reduce_over_group(group, backward[lane], sycl::maximum<T>{});
        const T sum = sycl::reduce_over_group(group, forward[lane] + backward[lane], sycl::plus<T>{}) / T(2);
        if (lane == 0) {
            smallest_largest_sum[0] = smallest;
            smallest_largest_sum[1] = largest;
            smallest_largest_sum[2] = sum;
        }
    }
};

template <typename T>
sycl::event describe_group(sycl::queue& queue, const T* values, std::size_t n, T* smallest_largest_sum) {
    return queue.submit([&](sycl::handler& handler) {
        const sycl::local_accessor<T, 1> forward(sycl::range<1>(n), handler);
        const sycl::local_accessor<T, 1> backward(sycl::range<1>(n), handler);
        handler.parallel_for<describe_group_kernel<T>>(
            sycl::nd_range<1>(n, n),
            describe_group_kernel<T>{values, smallest_largest_sum, forward, backward});
    });
}

template <typename T>
struct add_rounds_kernel {
    using element_type = T;
    static constexpr std::size_t group_value_bytes = 3 * sizeof(T);

    const T* values;
    std::size_t n_rounds;
    T* sums;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t lane = item.get_local_id(0);
        sums[lane] = 0;
        sycl::ext::aurelo::group_variable<std::size_t> rounds_left(item.get_group(), n_rounds);
        while (rounds_left.peek() != 0) {
            const std::size_t round = rounds_left.get();
            rounds_left.set(round - 1);
            const T x = values[lane] * static_cast<T>(round);
            const auto three =
                sycl::reduce_over_group(item.get_group(), sycl::marray<T, 3>(x, -2 * x, x), sycl::plus<>{});
            sums[lane] += sycl::reduce_over_group(item.get_group(), x, sycl::plus<T>{});
            sums[lane] += three[0] + three[1] + three[2];
        }
    }
};

template <typename T>
sycl::event add_rounds(sycl::queue& queue, const T* values, std::size_t n, std::size_t n_rounds, T* sums) {
    return queue.submit([&](sycl::handler& handler) {
        handler.parallel_for<add_rounds_kernel<T>>(sycl::nd_range<1>(n, n),
                                                   add_rounds_kernel<T>{values, n_rounds, sums});
    });
}

#define INSTANTIATE(T)                                                                                       \
    template sycl::event sum_of_squares(sycl::queue&, sycl::buffer<T, 1>&, sycl::buffer<T, 1>&,              \
                                        std::size_t);                                                        \
    template sycl::event scale_and_count(sycl::queue&, T*, std::size_t, T, const std::vector<sycl::event>&); \
    template sycl::event describe_group(sycl::queue&, const T*, std::size_t, T*);                            \
    template sycl::event add_rounds(sycl::queue&, const T*, std::size_t, std::size_t, T*);
INSTANTIATE(float)
INSTANTIATE(double)

} // namespace test
