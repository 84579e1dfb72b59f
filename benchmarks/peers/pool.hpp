// The memory of all rows: unified shared memory that every side reads in place.
#ifndef BENCHMARKS_PEERS_POOL_HPP
#define BENCHMARKS_PEERS_POOL_HPP

#include "matrix.hpp"
#include "samples.hpp"

#include <algorithm>
#include <cstddef>
#include <new>
#include <sycl/sycl.hpp>

namespace peers {

/// \brief A number of elements, filled once.
template <class T>
class pool {
public:
    pool(const sycl::queue& queue, std::size_t count)
        : queue_(queue), count_(count),
          data_(static_cast<T*>(sycl::aligned_malloc(64, count * sizeof(T), queue.get_device(),
                                                     queue.get_context(), sycl::usm::alloc::shared))) {
        if (!data_) {
            throw std::bad_alloc();
        }
        fill(data_, count);
    }
    ~pool() { sycl::free(data_, queue_); }
    pool(const pool&) = delete;
    pool& operator=(const pool&) = delete;

    T* data() const { return data_; }

    /// \brief A matrix, followed by its weights if it has any, over the whole pool. Columns begin at cache lines.
    matrix<T> as(std::int64_t dims, bool by_dimension, bool weighted) const {
        std::int64_t observations = static_cast<std::int64_t>(count_) / (dims + (weighted ? 1 : 0));
        observations = std::max<std::int64_t>(observations / 16 * 16, 1);
        return {data_, weighted ? data_ + dims * observations : nullptr, dims, observations, by_dimension};
    }

private:
    sycl::queue queue_;
    std::size_t count_;
    T* data_;
};

} // namespace peers

#endif
