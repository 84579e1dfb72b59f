#include <stdexcept>

#include <fmt/format.h>

#include "compute_calls.hpp"

namespace aurelo::qtx::describe {

namespace {

/// Arrays in shared memory, all freed together when no command uses them any more.
template <typename T>
class usm_storage {
public:
    template <typename Element>
    using array = Element*;

    explicit usm_storage(sycl::queue& queue) : queue_(queue) {}
    usm_storage(const usm_storage&) = delete;
    usm_storage& operator=(const usm_storage&) = delete;
    ~usm_storage() {
        wait_for_commands();
        for (void* const block : blocks_) {
            sycl::free(block, queue_);
        }
    }

    template <typename Element>
    Element* upload(const std::vector<Element>& values) {
        Element* const memory = allocate<Element>(values.size());
        std::copy(values.begin(), values.end(), memory);
        return memory;
    }

    T* make_output(std::size_t size) { return allocate<T>(size); }

    template <stats::layout L>
    stats::dataset<L, T*> make_dataset(const problem<T>& data) {
        T* const observations = upload(data.observations);
        T* const weights = upload(data.weights);
        return {static_cast<std::int64_t>(data.n_dims()), static_cast<std::int64_t>(data.n_observations),
                observations, weights, upload(data.mask)};
    }

    static std::vector<T> read(const T* output, std::size_t size) { return {output, output + size}; }

private:
    /// Null for no elements: the library takes it for an absent array.
    template <typename Element>
    Element* allocate(std::size_t size) {
        if (size == 0) {
            return nullptr;
        }
        blocks_.reserve(blocks_.size() + 1);
        auto* const memory = sycl::malloc_shared<Element>(size, queue_);
        if (memory == nullptr) {
            throw std::runtime_error(fmt::format("cannot allocate {} bytes of shared memory on {}",
                                                 size * sizeof(Element),
                                                 queue_.get_device().get_info<sycl::info::device::name>()));
        }
        blocks_.push_back(memory);
        return memory;
    }

    /// After an error commands may still run on the memory; their own errors no longer matter.
    void wait_for_commands() noexcept {
        try {
            queue_.wait();
        } catch (const std::exception&) {
        }
    }

    sycl::queue& queue_;
    std::vector<void*> blocks_;
};

} // namespace

template <typename T>
std::vector<computed<T>> compute_with_usm(compute_queue& queue, const problem<T>& data,
                                          const computation& what) {
    usm_storage<T> storage(queue.get());
    return compute_in(storage, queue, data, what);
}

template <typename T>
std::vector<stats::partial> partials_with_usm(compute_queue& queue, const problem<T>& data) {
    usm_storage<T> storage(queue.get());
    return partials_in(storage, queue, data);
}

template std::vector<computed<float>> compute_with_usm(compute_queue&, const problem<float>&,
                                                       const computation&);
template std::vector<computed<double>> compute_with_usm(compute_queue&, const problem<double>&,
                                                        const computation&);

template std::vector<stats::partial> partials_with_usm(compute_queue&, const problem<float>&);
template std::vector<stats::partial> partials_with_usm(compute_queue&, const problem<double>&);

} // namespace aurelo::qtx::describe
