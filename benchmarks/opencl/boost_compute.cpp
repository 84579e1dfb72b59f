#include "opencl_side.hpp"

#include <boost/compute/algorithm/transform_reduce.hpp>
#include <boost/compute/command_queue.hpp>
#include <boost/compute/container/vector.hpp>
#include <boost/compute/function.hpp>
#include <boost/compute/functional/operator.hpp>
#include <boost/compute/iterator/strided_iterator.hpp>
#include <boost/compute/types/fundamental.hpp>

#include <memory>

namespace bench {

namespace {

namespace compute = boost::compute;

template <typename T>
struct powers;

template <>
struct powers<float> {
    using sums = compute::float4_;
    static auto function() {
        BOOST_COMPUTE_FUNCTION(compute::float4_, four_powers, (float x),
                               { return (float4)(x, x * x, x * x * x, x * x * x * x); });
        return four_powers;
    }
};

template <>
struct powers<double> {
    using sums = compute::double4_;
    static auto function() {
        BOOST_COMPUTE_FUNCTION(compute::double4_, four_powers, (double x),
                               { return (double4)(x, x * x, x * x * x, x * x * x * x); });
        return four_powers;
    }
};

template <typename T>
class power_sums {
public:
    power_sums(const opencl_handles& handles, const matrix_view<T>& data)
        : queue_(handles.queue), n_dims_(data.n_dims), n_observations_(data.n_observations),
          layout_(data.layout), values_(data.values, data.values + data.size(), queue_) {}

    std::vector<T> operator()() {
        std::vector<T> kurtosis;
        for (std::size_t d = 0; d < n_dims_; ++d) {
            const auto sums = sums_of(d);
            const T each[] = {sums[0], sums[1], sums[2], sums[3]};
            kurtosis.push_back(kurtosis_of(each, n_observations_));
        }
        return kurtosis;
    }

private:
    typename powers<T>::sums sums_of(std::size_t d) {
        typename powers<T>::sums sums{};
        const auto reduce = [&](auto first, auto last) {
            compute::transform_reduce(first, last, &sums, powers<T>::function(),
                                      compute::plus<typename powers<T>::sums>(), queue_);
        };
        if (layout_ == placement::by_dimension) {
            const auto first = values_.begin() + d * n_observations_;
            reduce(first, first + n_observations_);
        } else {
            const auto first = compute::make_strided_iterator(values_.begin() + d, n_dims_);
            reduce(first, first + n_observations_);
        }
        return sums;
    }

    compute::command_queue queue_;
    std::size_t n_dims_;
    std::size_t n_observations_;
    placement layout_;
    compute::vector<T> values_;
};

} // namespace

template <typename T>
side<T> boost_compute_kurtosis(const opencl_handles& handles, const matrix_view<T>& data) {
    return [sums = std::make_shared<power_sums<T>>(handles, data)] { return (*sums)(); };
}

template side<float> boost_compute_kurtosis(const opencl_handles&, const matrix_view<float>&);
template side<double> boost_compute_kurtosis(const opencl_handles&, const matrix_view<double>&);

} // namespace bench
