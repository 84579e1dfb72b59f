#pragma once

#include <cstddef>

namespace sycl {

namespace detail {

/// Bytes of \p count elements. Saturates, at a size that no memory has: an allocation of it is refused.
template <typename T>
constexpr std::size_t bytes_of(std::size_t count) {
    constexpr std::size_t largest = static_cast<std::size_t>(-1);
    return count <= largest / sizeof(T) ? count * sizeof(T) : largest;
}

/// One extent or index. This runtime works in one dimension, so that nothing is lost in the conversions.
template <typename Self, int Dims>
class index_base {
    static_assert(Dims == 1, "this runtime supports one-dimensional ranges");

public:
    static constexpr int dimensions = Dims;

    constexpr index_base() = default;
    constexpr index_base(std::size_t value) : value_(value) {}

    constexpr std::size_t get(int) const { return value_; }
    constexpr std::size_t& operator[](int) { return value_; }
    constexpr std::size_t operator[](int) const { return value_; }

    friend constexpr bool operator==(const Self& a, const Self& b) { return a.value_ == b.value_; }
    friend constexpr bool operator!=(const Self& a, const Self& b) { return a.value_ != b.value_; }

protected:
    std::size_t value_ = 0;
};

} // namespace detail

template <int Dims = 1>
class range : public detail::index_base<range<Dims>, Dims> {
public:
    using detail::index_base<range<Dims>, Dims>::index_base;
    constexpr std::size_t size() const { return this->value_; }
};
range(std::size_t)->range<1>;

template <int Dims = 1>
class id : public detail::index_base<id<Dims>, Dims> {
public:
    using detail::index_base<id<Dims>, Dims>::index_base;
    constexpr id(const range<Dims>& extent) : detail::index_base<id<Dims>, Dims>(extent.size()) {}
    constexpr operator std::size_t() const { return this->value_; }
};
id(std::size_t)->id<1>;

/// The iteration space of a launch: \p global work-items in work-groups of \p local.
template <int Dims = 1>
class nd_range {
public:
    static constexpr int dimensions = Dims;

    constexpr nd_range(range<Dims> global, range<Dims> local) : global_(global), local_(local) {}

    constexpr range<Dims> get_global_range() const { return global_; }
    constexpr range<Dims> get_local_range() const { return local_; }
    constexpr range<Dims> get_group_range() const { return range<Dims>(global_.size() / local_.size()); }

private:
    range<Dims> global_;
    range<Dims> local_;
};

} // namespace sycl
