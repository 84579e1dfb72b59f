#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace sycl {

/**
 * A fixed number of numbers that operators treat element by element. Written without loops: compilers of device
 * images leave loops to the driver, and what a loop indexes lives in memory.
 */
template <typename T, std::size_t N>
class marray {
public:
    using value_type = T;

    constexpr marray() : values_{} {}
    explicit constexpr marray(const T& each) : marray(each, std::make_index_sequence<N>()) {}
    template <typename... Each, typename = std::enable_if_t<sizeof...(Each) == N && (N > 1) &&
                                                            (std::is_convertible_v<const Each&, T> && ...)>>
    constexpr marray(const Each&... each) : values_{static_cast<T>(each)...} {}

    static constexpr std::size_t size() noexcept { return N; }
    constexpr T& operator[](std::size_t i) { return values_[i]; }
    constexpr const T& operator[](std::size_t i) const { return values_[i]; }

    friend constexpr marray operator+(const marray& a, const marray& b) {
        return a.plus(b, std::make_index_sequence<N>());
    }

private:
    template <std::size_t... k>
    constexpr marray(const T& each, std::index_sequence<k...>) : values_{(static_cast<void>(k), each)...} {}

    template <std::size_t... k>
    constexpr marray plus(const marray& other, std::index_sequence<k...>) const {
        marray sum;
        ((sum.values_[k] = values_[k] + other.values_[k]), ...);
        return sum;
    }

    T values_[N];
};

} // namespace sycl
