/**
 * \file export.hpp
 * \brief Visibility of what the shared library offers.
 */
#pragma once

/** \brief Marks a declaration that the library exports; everything else is hidden. */
#define QTX_STATS_EXPORT __attribute__((visibility("default")))
