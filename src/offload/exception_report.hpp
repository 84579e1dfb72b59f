/**
 * \file exception_report.hpp
 * \brief The words for exceptions that must not leave an entry or a completion thread.
 */
#pragma once

namespace aurelo::qtx::stats::detail::openmp {

/** \brief Prints the exception being handled on stderr; call it in a handler. */
void print_current_exception() noexcept;

} // namespace aurelo::qtx::stats::detail::openmp
