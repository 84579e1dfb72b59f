#pragma once

#include <type_traits>

#ifdef __SYCL_DEVICE_ONLY__
#include <sycl/detail/device_builtins.hpp>
#else
#include <cmath>
#endif

namespace sycl {

#ifdef __SYCL_DEVICE_ONLY__
inline float mad(float a, float b, float c) {
    return detail::builtin::mad(a, b, c);
}
inline double mad(double a, double b, double c) {
    return detail::builtin::mad(a, b, c);
}
inline float sqrt(float x) {
    return detail::builtin::sqrt(x);
}
inline double sqrt(double x) {
    return detail::builtin::sqrt(x);
}
inline float fma(float a, float b, float c) {
    return detail::builtin::fma(a, b, c);
}
inline double fma(double a, double b, double c) {
    return detail::builtin::fma(a, b, c);
}
#else
/// a * b + c in two rounded operations; the device's multiply-add may fuse them.
inline float mad(float a, float b, float c) {
    return a * b + c;
}
inline double mad(double a, double b, double c) {
    return a * b + c;
}
inline float sqrt(float x) {
    return std::sqrt(x);
}
inline double sqrt(double x) {
    return std::sqrt(x);
}
inline float fma(float a, float b, float c) {
    return std::fma(a, b, c);
}
inline double fma(double a, double b, double c) {
    return std::fma(a, b, c);
}
#endif

} // namespace sycl
