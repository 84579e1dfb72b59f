// Both public forms on a CPU queue, as a caller writes them.
#include "ours.hpp"

#include <stats/stats.hpp>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

namespace peers {
namespace {

namespace stats = aurelo::qtx::stats;
using stats::layout;

/// \brief Output arrays in unified shared memory.
template <class T>
std::vector<std::shared_ptr<T>> usm_outputs(sycl::queue& queue, std::int64_t outputs, std::int64_t dims) {
    std::vector<std::shared_ptr<T>> arrays;
    for (std::int64_t i = 0; i < outputs; ++i) {
        T* array = sycl::malloc_shared<T>(static_cast<std::size_t>(dims), queue);
        if (!array) {
            throw std::bad_alloc();
        }
        arrays.emplace_back(array, [queue](T* p) { sycl::free(p, queue); });
    }
    return arrays;
}

template <class T>
std::vector<sycl::buffer<T, 1>> buffer_outputs(std::int64_t outputs, std::int64_t dims) {
    std::vector<sycl::buffer<T, 1>> arrays;
    for (std::int64_t i = 0; i < outputs; ++i) {
        arrays.emplace_back(sycl::range<1>(static_cast<std::size_t>(dims)));
    }
    return arrays;
}

/// \brief Calls an estimate of either form; \p at gives output array number i as the form wants it.
template <class Data, class At>
auto call(sycl::queue& q, estimate e, const Data& data, At&& at) {
    switch (e) {
    case estimate::kurtosis:
        return stats::kurtosis(q, data, at(0));
    case estimate::skewness:
        return stats::skewness(q, data, at(0));
    case estimate::variation:
        return stats::variation(q, data, at(0));
    case estimate::mean:
        return stats::mean(q, data, at(0));
    case estimate::central_sum:
        return stats::central_sum(q, data, at(0), at(1), at(2));
    case estimate::central_moment:
        return stats::central_moment(q, data, at(0), at(1), at(2));
    case estimate::raw_sum:
        return stats::raw_sum(q, data, at(0), at(1), at(2), at(3));
    case estimate::raw_moment:
        return stats::raw_moment(q, data, at(0), at(1), at(2), at(3));
    case estimate::min_max:
        return stats::min_max(q, data, at(0), at(1));
    }
    std::abort();
}

template <layout L, class T>
job usm_job(sycl::queue queue, estimate e, const matrix<T>& m, double* out) {
    const auto data = stats::make_dataset<L>(m.dims, m.observations, m.data, m.weights);
    return [queue, e, data, out, arrays = usm_outputs<T>(queue, outputs_of(e), m.dims)]() mutable {
        call(queue, e, data, [&](std::size_t i) { return arrays[i].get(); }).wait_and_throw();
        double* next = out;
        for (const std::shared_ptr<T>& array : arrays) {
            next = std::copy_n(array.get(), data.n_dims, next);
        }
    };
}

template <layout L, class T>
job buffer_job(sycl::queue queue, estimate e, const matrix<T>& m, double* out) {
    const auto size = static_cast<std::size_t>(m.dims * m.observations);
    const sycl::buffer<T, 1> matrix_buffer(m.data, sycl::range<1>(size));
    const sycl::buffer<T, 1> weights =
        m.weights ? sycl::buffer<T, 1>(m.weights, sycl::range<1>(static_cast<std::size_t>(m.observations)))
                  : sycl::buffer<T, 1>(sycl::range<1>(0));
    const auto data = stats::make_dataset<L>(m.dims, m.observations, matrix_buffer, weights);
    return [queue, e, data, out, arrays = buffer_outputs<T>(outputs_of(e), m.dims)]() mutable {
        call(queue, e, data, [&](std::size_t i) { return arrays[i]; });
        double* next = out;
        for (sycl::buffer<T, 1>& array : arrays) {
            const sycl::host_accessor result(array, sycl::read_only);
            next = std::copy_n(result.begin(), data.n_dims, next);
        }
    };
}

} // namespace

template <class T>
job ours_usm(sycl::queue queue, estimate e, const matrix<T>& m, double* out) {
    return m.by_dimension ? usm_job<layout::by_dimension>(queue, e, m, out)
                          : usm_job<layout::by_observation>(queue, e, m, out);
}

template <class T>
job ours_buffer(sycl::queue queue, estimate e, const matrix<T>& m, double* out) {
    return m.by_dimension ? buffer_job<layout::by_dimension>(queue, e, m, out)
                          : buffer_job<layout::by_observation>(queue, e, m, out);
}

template job ours_usm(sycl::queue, estimate, const matrix<float>&, double*);
template job ours_usm(sycl::queue, estimate, const matrix<double>&, double*);
template job ours_buffer(sycl::queue, estimate, const matrix<float>&, double*);
template job ours_buffer(sycl::queue, estimate, const matrix<double>&, double*);

} // namespace peers
