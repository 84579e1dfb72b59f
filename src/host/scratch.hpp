/**
 * \file scratch.hpp
 * \brief Arrays that an estimate registers with the component and that its caller never sees.
 */
#pragma once

#include <stats/exception.hpp>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace aurelo::qtx::stats::detail::cpu {

/**
 * \brief Elements of a scratch array. A count below 1 is left to the component to refuse. One that is too large for a size
 * in bytes becomes the largest that is not: no allocation of that many succeeds, and nothing wraps around.
 */
template <typename T>
std::size_t scratch_size(std::int64_t n_dims) {
    constexpr auto most = static_cast<std::int64_t>(std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T));
    return static_cast<std::size_t>(std::clamp<std::int64_t>(n_dims, 1, most));
}

/** \brief A scratch array of the buffer form; its storage goes when no command uses it. */
template <typename T>
sycl::buffer<T, 1> scratch_buffer(std::int64_t n_dims) {
    return sycl::buffer<T, 1>(sycl::range<1>(scratch_size<T>(n_dims)));
}

/** \brief A one-element buffer that stands in for an absent output, or for scratch that nothing will ask for.
 */
template <typename T>
sycl::buffer<T, 1> spare_buffer() {
    return sycl::buffer<T, 1>(sycl::range<1>(1));
}

/**
 * \brief Owns all scratch of a call of the USM form. Every array is asked for before any is tested, and they
 * are freed in the order of their allocation on every way out.
 */
template <typename T>
class usm_scratch {
public:
    usm_scratch(sycl::queue& queue, std::int64_t n_dims)
        : queue_(queue), elements_(scratch_size<T>(n_dims)) {}
    ~usm_scratch() {
        for (std::size_t i = 0; i < count_; ++i) {
            sycl::free(arrays_[i], queue_);
        }
    }
    usm_scratch(const usm_scratch&) = delete;
    usm_scratch& operator=(const usm_scratch&) = delete;

    /** \brief The next array, or null if none is left; check() tells. */
    T* allocate() { return arrays_[count_++] = sycl::malloc_shared<T>(elements_, queue_); }
    T* allocate_if(bool needed) { return needed ? allocate() : nullptr; }

    /** \brief \throws device_bad_alloc if one of the arrays could not be had. */
    void check(const char* estimate) const {
        const auto end = arrays_.begin() + static_cast<std::ptrdiff_t>(count_);
        if (std::find(arrays_.begin(), end, nullptr) != end) {
            throw device_bad_alloc("stats", estimate, queue_.get_device());
        }
    }

private:
    sycl::queue& queue_;
    std::size_t elements_;
    std::array<T*, 6> arrays_{};
    std::size_t count_ = 0;
};

} // namespace aurelo::qtx::stats::detail::cpu
