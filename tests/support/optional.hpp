// Tests that need what a machine may lack, as an OpenCL device.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

namespace support {

/// Whether the machine is said to lack nothing.
inline bool everything_required() {
    const char* required = std::getenv("QTX_REQUIRE_ALL");
    return required && *required && *required != '0';
}

} // namespace support

/// Ends the test: as skipped, or as failed where nothing may be missing.
#define SUPPORT_MISSING(what)                                                                                \
    if (support::everything_required())                                                                      \
        FAIL() << what;                                                                                      \
    else                                                                                                     \
        GTEST_SKIP() << what
