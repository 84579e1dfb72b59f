#include "compute.hpp"

#include <mutex>
#include <unordered_map>

#include "compute_queue.hpp"
#include "library_calls.hpp"

namespace aurelo::qtx::python {

namespace {

/// The context for all calls on a device: it keeps what was compiled for the device. Never destroyed, since
/// devices' drivers may be gone when the interpreter's process ends.
sycl::context context_of(const sycl::device& device) {
    static auto& lock = *new std::mutex;
    static auto& contexts = *new std::unordered_map<sycl::device, sycl::context>;
    const std::lock_guard guard(lock);
    const auto found = contexts.find(device);
    return found != contexts.end() ? found->second : contexts.emplace(device, device).first->second;
}

template <typename T>
sycl::buffer<T, 1> over(T* memory, std::size_t size) {
    return memory == nullptr
               ? sycl::buffer<T, 1>(sycl::range<1>(0))
               : sycl::buffer<T, 1>(memory, sycl::range<1>(size), sycl::property::buffer::use_host_ptr());
}

/// Datasets hold buffers of elements that could be written; the library reads them, and nothing is written back,
/// so that read-only memory will do.
template <typename T>
sycl::buffer<T, 1> reading(const T* memory, std::size_t size) {
    auto buffer = over(const_cast<T*>(memory), size);
    buffer.set_write_back(false);
    return buffer;
}

template <stats::layout L, typename T>
void compute_in(const sycl::device& device, const matrix<T>& data, bool standard_method,
                const std::vector<call_with_outputs<T>>& calls) {
    describe::compute_queue queue(context_of(device), device);
    // Buffers over the caller's memory wait for their commands when they go, before the queue does.
    const stats::dataset<L, sycl::buffer<T, 1>> dataset(
        static_cast<std::int64_t>(data.n_dims), static_cast<std::int64_t>(data.n_observations),
        reading(data.observations, data.n_dims * data.n_observations),
        reading(data.weights, data.n_observations), reading(data.mask, data.n_dims));
    const sycl::buffer<T, 1> mean = reading(data.mean, data.n_dims);
    // One after the other: each call keeps all processors busy, and no call follows one that failed.
    for (const call_with_outputs<T>& call : calls) {
        const auto output = [&](std::size_t i) { return over(call.outputs[i], data.n_dims); };
        const std::array<sycl::buffer<T, 1>, 4> outputs{output(0), output(1), output(2), output(3)};
        describe::make_call(*call.planned, standard_method, queue.get(), dataset, mean, outputs);
        queue.finish();
    }
}

} // namespace

template <typename T>
void compute(const sycl::device& device, const matrix<T>& data, bool standard_method,
             const std::vector<call_with_outputs<T>>& calls) {
    if (data.by_observation) {
        compute_in<stats::layout::by_observation>(device, data, standard_method, calls);
    } else {
        compute_in<stats::layout::by_dimension>(device, data, standard_method, calls);
    }
}

template void compute(const sycl::device&, const matrix<float>&, bool,
                      const std::vector<call_with_outputs<float>>&);
template void compute(const sycl::device&, const matrix<double>&, bool,
                      const std::vector<call_with_outputs<double>>&);

} // namespace aurelo::qtx::python
