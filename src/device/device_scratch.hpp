/**
 * \file device_scratch.hpp
 * \brief Owner of the device memory of one call.
 */
#pragma once

#include <stats/exception.hpp>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <vector>

namespace aurelo::qtx::stats::detail::gpu {

/** \brief Arrays from `sycl::malloc_device`, freed in order of allocation on every way out. */
template <typename T>
class device_scratch {
public:
    /**
     * \brief Allocates one array for each of \p sizes, in elements; a size of 0 gives null.
     * \throws device_bad_alloc, with everything freed, if one of them cannot be had; all are tried first
     */
    device_scratch(const sycl::queue& queue, const char* estimate, std::initializer_list<std::size_t> sizes)
        : device_scratch(queue) { // from here on the destructor frees, whatever is thrown
        arrays_.reserve(sizes.size());
        for (const std::size_t size : sizes) {
            arrays_.push_back(size == 0 ? nullptr : sycl::malloc_device<T>(size, queue));
        }
        if (!std::equal(sizes.begin(), sizes.end(), arrays_.begin(),
                        [](std::size_t size, const T* array) { return size == 0 || array != nullptr; })) {
            throw device_bad_alloc("stats", estimate, queue.get_device());
        }
    }
    device_scratch(const device_scratch&) = delete;
    device_scratch& operator=(const device_scratch&) = delete;
    ~device_scratch() {
        for (T* array : arrays_) {
            if (array != nullptr) {
                sycl::free(array, context_);
            }
        }
    }

    T* operator[](std::size_t i) const { return arrays_[i]; }

private:
    explicit device_scratch(const sycl::queue& queue) : context_(queue.get_context()) {}

    sycl::context context_;
    std::vector<T*> arrays_;
};

} // namespace aurelo::qtx::stats::detail::gpu
