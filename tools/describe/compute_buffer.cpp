#include "compute_calls.hpp"

namespace aurelo::qtx::describe {

namespace {

/// Arrays in buffers. They are copies: nothing is written back to the host's vectors.
template <typename T>
class buffer_storage {
public:
    template <typename Element>
    using array = sycl::buffer<Element, 1>;

    template <typename Element>
    static array<Element> upload(const std::vector<Element>& values) {
        return values.empty() ? array<Element>(sycl::range<1>(0))
                              : array<Element>(values.begin(), values.end());
    }

    static array<T> make_output(std::size_t size) { return array<T>(sycl::range<1>(size)); }

    template <stats::layout L>
    static stats::dataset<L, array<T>> make_dataset(const problem<T>& data) {
        return {static_cast<std::int64_t>(data.n_dims()), static_cast<std::int64_t>(data.n_observations),
                upload(data.observations), upload(data.weights), upload(data.mask)};
    }

    static std::vector<T> read(array<T>& output, std::size_t) {
        const sycl::host_accessor values(output, sycl::read_only);
        return {values.begin(), values.end()};
    }
};

} // namespace

template <typename T>
std::vector<computed<T>> compute_with_buffers(compute_queue& queue, const problem<T>& data,
                                              const computation& what) {
    buffer_storage<T> storage;
    return compute_in(storage, queue, data, what);
}

template <typename T>
std::vector<stats::partial> partials_with_buffers(compute_queue& queue, const problem<T>& data) {
    buffer_storage<T> storage;
    return partials_in(storage, queue, data);
}

template std::vector<computed<float>> compute_with_buffers(compute_queue&, const problem<float>&,
                                                           const computation&);
template std::vector<computed<double>> compute_with_buffers(compute_queue&, const problem<double>&,
                                                            const computation&);

template std::vector<stats::partial> partials_with_buffers(compute_queue&, const problem<float>&);
template std::vector<stats::partial> partials_with_buffers(compute_queue&, const problem<double>&);

} // namespace aurelo::qtx::describe
