#pragma once

#include <sycl/access.hpp>
#include <sycl/accessor.hpp>
#include <sycl/aspects.hpp>
#include <sycl/backend.hpp>
#include <sycl/buffer.hpp>
#include <sycl/context.hpp>
#include <sycl/device.hpp>
#include <sycl/event.hpp>
#include <sycl/exception.hpp>
#include <sycl/functional.hpp>
#include <sycl/group_algorithm.hpp>
#include <sycl/handler.hpp>
#include <sycl/host_accessor.hpp>
#include <sycl/info.hpp>
#include <sycl/interop.hpp>
#include <sycl/local_accessor.hpp>
#include <sycl/math.hpp>
#include <sycl/multi_ptr.hpp>
#include <sycl/nd_item.hpp>
#include <sycl/platform.hpp>
#include <sycl/property.hpp>
#include <sycl/queue.hpp>
#include <sycl/range.hpp>
#include <sycl/usm.hpp>

/// The version of the standard whose subset this is.
#define SYCL_LANGUAGE_VERSION 202012L
