#include "calls.hpp"

#include <stats/stats.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iterator>
#include <memory>
#include <new>

namespace test {
namespace {

namespace stats = aurelo::qtx::stats;
using stats::layout;

constexpr std::int64_t n_dims = 3;
constexpr std::int64_t n_observations = 700;

template <typename T>
class shared_array {
public:
    shared_array(sycl::queue& queue, std::int64_t size)
        : queue_(queue), size_(size), data_(sycl::malloc_shared<T>(static_cast<std::size_t>(size), queue)) {
        if (data_ == nullptr) {
            throw std::bad_alloc();
        }
        for (std::int64_t i = 0; i < size; ++i) {
            data_[i] = static_cast<T>(1 + i * i % 37);
        }
    }
    ~shared_array() { sycl::free(data_, queue_); }
    shared_array(const shared_array&) = delete;
    shared_array& operator=(const shared_array&) = delete;

    T* get() const { return data_; }
    void append_to(std::vector<double>& values) const {
        std::copy_n(data_, size_, std::back_inserter(values));
    }

private:
    sycl::queue& queue_;
    std::int64_t size_;
    T* data_;
};

template <typename T>
sycl::buffer<T, 1> filled_buffer(std::int64_t size) {
    sycl::buffer<T, 1> buffer{sycl::range<1>(static_cast<std::size_t>(size))};
    const sycl::host_accessor values(buffer, sycl::write_only, sycl::no_init);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<T>(1 + i * i % 37);
    }
    return buffer;
}

template <typename T>
void append(std::vector<double>& values, sycl::buffer<T, 1>& buffer) {
    const sycl::host_accessor contents(buffer, sycl::read_only);
    std::copy(contents.begin(), contents.end(), std::back_inserter(values));
}

template <typename T, layout L, typename Call>
mixed_call usm(const char* name, bool weighted, bool masked, Call call) {
    return {name, [=](sycl::queue& queue) {
                const shared_array<T> x(queue, n_dims * n_observations), weights(queue, n_observations),
                    a(queue, n_dims), b(queue, n_dims);
                const shared_array<std::int64_t> mask(queue, n_dims);
                mask.get()[1] = 0;
                const stats::dataset<L, T*> data(n_dims, n_observations, x.get(),
                                                 weighted ? weights.get() : nullptr,
                                                 masked ? mask.get() : nullptr);
                call(queue, data, a.get(), b.get()).wait_and_throw();
                std::vector<double> results;
                a.append_to(results);
                b.append_to(results);
                return results;
            }};
}

template <typename T, layout L, typename Call>
mixed_call buffers(const char* name, bool weighted, Call call) {
    return {name, [=](sycl::queue& queue) {
                auto x = filled_buffer<T>(n_dims * n_observations), a = filled_buffer<T>(n_dims),
                     b = filled_buffer<T>(n_dims), weights = filled_buffer<T>(weighted ? n_observations : 0);
                const stats::dataset<L, sycl::buffer<T, 1>> data(n_dims, n_observations, x, weights);
                call(queue, data, a, b);
                queue.wait_and_throw();
                std::vector<double> results;
                append(results, a);
                append(results, b);
                return results;
            }};
}

} // namespace

std::vector<mixed_call> mixed_calls() {
    const auto min_max = [](auto& queue, const auto& data, auto low, auto high) {
        return stats::min_max(queue, data, low, high);
    };
    const auto mean = [](auto& queue, const auto& data, auto out, auto) {
        return stats::mean(queue, data, out);
    };
    const auto raw_sum = [](auto& queue, const auto& data, auto sum, auto sum2) {
        const decltype(sum) none(sycl::range<1>(0));
        return stats::raw_sum(queue, data, sum, sum2, none, none);
    };
    const auto central_moment = [](auto& queue, const auto& data, auto out2, auto out4) {
        return stats::central_moment(queue, data, out2, decltype(out2)(), out4);
    };
    const auto kurtosis = [](auto& queue, const auto& data, auto out, auto) {
        return stats::kurtosis(queue, data, out);
    };
    const auto skewness_about = [](auto& queue, const auto& data, auto out, auto center) {
        return stats::skewness(queue, center, data, out);
    };
    return {
        usm<double, layout::by_dimension>("min_max, USM, masked", false, true, min_max),
        usm<float, layout::by_observation>("mean, USM, weighted", true, false, mean),
        usm<double, layout::by_observation>("kurtosis, USM, weighted, masked", true, true, kurtosis),
        usm<double, layout::by_dimension>("central_moment, USM", false, false, central_moment),
        usm<double, layout::by_dimension>("skewness about a mean, USM", false, false, skewness_about),
        buffers<double, layout::by_dimension>("raw_sum, buffers", false, raw_sum),
        buffers<float, layout::by_observation>("min_max, buffers", false, min_max),
        buffers<double, layout::by_observation>("kurtosis, buffers, weighted", true, kurtosis),
    };
}

sycl::queue throwing_queue(const sycl::context& context, const sycl::device& device) {
    return sycl::queue(context, device, [](const sycl::exception_list& errors) {
        for (const auto& error : errors) {
            std::rethrow_exception(error);
        }
    });
}

} // namespace test
