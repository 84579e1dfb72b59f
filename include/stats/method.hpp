/**
 * \file method.hpp
 * \brief How an estimate is computed.
 */
#pragma once

#include <stats/export.hpp>

#include <cstdint>

namespace aurelo::qtx::stats {

/** \brief Selects the computation of an estimate. */
enum class QTX_STATS_EXPORT method : std::int64_t {
    /** One pass over the data. Available for every estimate on every supported device. */
    fast = 1,
    /**
     * Available for every estimate but max, min and min_max. It changes the computation of central_sum and
     * central_moment only, and exists for these two on CPU devices only; all others give the results of
     * `fast`.
     */
    standard = 2
};

} // namespace aurelo::qtx::stats
