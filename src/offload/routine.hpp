/**
 * \file routine.hpp
 * \brief What the routines' sources share; only they include it.
 */
#pragma once

#include "openmp_routines.hpp"
#include "statuses.hpp"

namespace aurelo::qtx::stats::detail::openmp {

/** \brief The outcome of a refusal, or of the event that \p submit returns. */
template <typename Submit>
outcome unless_refused(int status, const Submit& submit) {
    return status != 0 ? outcome(sycl::event(), status) : outcome(submit(), 0);
}

} // namespace aurelo::qtx::stats::detail::openmp

/** \brief The instances of a routine: both widths, types and layouts. */
#define QTX_OPENMP_ROUTINE(NAME)                                                                             \
    QTX_OPENMP_LAYOUTS(NAME, true, float)                                                                    \
    QTX_OPENMP_LAYOUTS(NAME, true, double)                                                                   \
    QTX_OPENMP_LAYOUTS(NAME, false, float)                                                                   \
    QTX_OPENMP_LAYOUTS(NAME, false, double)
#define QTX_OPENMP_LAYOUTS(NAME, ILP64, T)                                                                   \
    QTX_OPENMP_INSTANCE(NAME, ILP64, T, layout::by_dimension)                                                \
    QTX_OPENMP_INSTANCE(NAME, ILP64, T, layout::by_observation)
#define QTX_OPENMP_INSTANCE(NAME, ILP64, T, L) template decltype(NAME<ILP64, T, L>) NAME<ILP64, T, L>;
