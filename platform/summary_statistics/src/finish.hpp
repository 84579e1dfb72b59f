#ifndef TSB_SRC_FINISH_HPP
#define TSB_SRC_FINISH_HPP

#include "layout.hpp"
#include "totals.hpp"

namespace tsb {

/// \brief Stores the results of the panel's included dimensions from their complete totals.
void finish(const problem&, const panel&, const totals&);

} // namespace tsb

#endif
