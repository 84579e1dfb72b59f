#include "kernels.hpp"

#include <algorithm>

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
    sycl::local_accessor<T, 1> turned;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t size = item.get_local_range(0);
        item.wait_for(item.async_work_group_copy(tile.template get_multi_ptr<sycl::access::decorated::yes>(),
                                                 in.template get_multi_ptr<sycl::access::decorated::yes>() +
                                                     static_cast<std::ptrdiff_t>(item.get_group(0) * size),
                                                 size));
        turned[size - 1 - item.get_local_id(0)] = tile[item.get_local_id(0)];
        sycl::group_barrier(item.get_group());
        const T x = turned[item.get_local_id(0)];
        const T sum = sycl::reduce_over_group(item.get_group(), sycl::mad(x, x, T(0)), T(0), sycl::plus<T>{});
        if (item.get_local_id(0) == 0) {
            out[item.get_group(0)] = sum;
        }
    }
};

template <typename T>
sycl::event sum_of_squares(sycl::queue& queue, sycl::buffer<T, 1>& in, sycl::buffer<T, 1>& out,
                           std::size_t local_size, std::size_t tile_size) {
    return queue.submit([&](sycl::handler& handler) {
        const reading<T> source(in, handler);
        const writing<T> target(out, handler);
        const sycl::local_accessor<T, 1> tile(sycl::range<1>(std::max(tile_size, local_size)), handler);
        const sycl::local_accessor<T, 1> turned(sycl::range<1>(local_size), handler);
        handler.parallel_for<sum_of_squares_kernel<T>>(
            sycl::nd_range<1>(in.size(), local_size), sum_of_squares_kernel<T>{source, target, tile, turned});
    });
}

struct scale_and_count_kernel {
    using element_type = float;

    float* values;
    float factor;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t i = item.get_global_id(0);
        values[i] = values[i] * factor + static_cast<float>(i);
    }
};

sycl::event scale_and_count(sycl::queue& queue, float* values, std::size_t n, float factor,
                            const std::vector<sycl::event>& dependencies) {
    return queue.submit([&](sycl::handler& handler) {
        handler.depends_on(dependencies);
        handler.parallel_for<scale_and_count_kernel>(sycl::nd_range<1>(n, 1),
                                                     scale_and_count_kernel{values, factor});
    });
}

struct add_rounds_kernel {
    using element_type = float;

    const float* values;
    std::size_t n_rounds;
    float* sums;

    void operator()(sycl::nd_item<1> item) const {
        const std::size_t lane = item.get_local_id(0);
        sums[lane] = 0;
        for (std::size_t round = n_rounds; round != 0; --round) {
            const float x = values[lane] * static_cast<float>(round);
            if (round % 2 == 0) { // the same for all work-items
                sums[lane] += 10 * sycl::reduce_over_group(item.get_group(), x, sycl::plus<>{});
                continue;
            }
            sums[lane] += sycl::reduce_over_group(item.get_group(), x, sycl::plus<float>{});
        }
    }
};

sycl::event add_rounds(sycl::queue& queue, const float* values, std::size_t n, std::size_t n_rounds,
                       float* sums) {
    return queue.submit([&](sycl::handler& handler) {
        handler.parallel_for<add_rounds_kernel>(sycl::nd_range<1>(n, n),
                                                add_rounds_kernel{values, n_rounds, sums});
    });
}

template sycl::event sum_of_squares(sycl::queue&, sycl::buffer<float, 1>&, sycl::buffer<float, 1>&,
                                    std::size_t, std::size_t);
template sycl::event sum_of_squares(sycl::queue&, sycl::buffer<double, 1>&, sycl::buffer<double, 1>&,
                                    std::size_t, std::size_t);

} // namespace test
