#pragma once

/// Marks what libsycl.so.7 offers to programs. Everything else of the library is hidden.
#define SYCL_EXPORT __attribute__((visibility("default")))
