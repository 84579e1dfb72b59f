/**
 * \file instantiate.hpp
 * \brief Explicit instantiations of the launch routines that offloaded tasks need beside the public ones, and
 * with them of their kernels: functors in unified shared memory, whose masks may hold 32-bit integers.
 *
 * Each source of this folder instantiates one family; the routines that run them declare the same lists by
 * way of `QTX_OFFLOAD_TEMPLATE`.
 */
#pragma once

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <vector>

/** \brief What the lists make: definitions, or declarations where this is defined as `extern template`. */
#ifndef QTX_OFFLOAD_TEMPLATE
#define QTX_OFFLOAD_TEMPLATE template
#endif

/** \brief One launch routine for one functor; what follows the width of the mask are types of a caller's
 * mean.
 */
#define QTX_OFFLOAD_LAUNCH(ROUTINE, FUNCTOR, T, L, INDEX_64, ...)                                            \
    QTX_OFFLOAD_TEMPLATE sycl::event ROUTINE<INDEX_64, T, L, FUNCTOR<T, true> __VA_OPT__(, ) __VA_ARGS__>(   \
        sycl::queue&, dataset<L, T*>, FUNCTOR<T, true>,                                                      \
        const std::vector<sycl::event>& __VA_OPT__(, ) __VA_ARGS__);

#define QTX_OFFLOAD_LAYOUTS(ROUTINE, FUNCTOR, T, INDEX_64, ...)                                              \
    QTX_OFFLOAD_LAUNCH(ROUTINE, FUNCTOR, T, layout::by_dimension, INDEX_64 __VA_OPT__(, ) __VA_ARGS__)       \
    QTX_OFFLOAD_LAUNCH(ROUTINE, FUNCTOR, T, layout::by_observation, INDEX_64 __VA_OPT__(, ) __VA_ARGS__)

/** \brief A functor of min/max or of sums, for one width of masks, in both types and layouts. */
#define QTX_OFFLOAD(ROUTINE, FUNCTOR, INDEX_64)                                                              \
    QTX_OFFLOAD_LAYOUTS(ROUTINE, FUNCTOR, float, INDEX_64)                                                   \
    QTX_OFFLOAD_LAYOUTS(ROUTINE, FUNCTOR, double, INDEX_64)

/** \brief Likewise, for a functor about a caller's mean. */
#define QTX_OFFLOAD_USER_MEAN(ROUTINE, FUNCTOR, INDEX_64)                                                    \
    QTX_OFFLOAD_LAYOUTS(ROUTINE, FUNCTOR, float, INDEX_64, float*)                                           \
    QTX_OFFLOAD_LAYOUTS(ROUTINE, FUNCTOR, double, INDEX_64, double*)
