/**
 * \file stats.hpp
 * \brief All public declarations of the library.
 *
 * \section forms Forms of an estimate
 *
 * An estimate is a function template that computes one value per dimension of a dataset. Template parameters
 * are the method (`method::fast` unless told otherwise), the element type T (float or double) and the layout;
 * the last two are deduced. The instances that exist are part of the library; any other call does not link.
 *
 * - The buffer form takes a dataset of buffers and output buffers, and returns at once. The caller sees
 * completion through its buffers: any later access to them waits for the command.
 * - The USM form takes a dataset of pointers, output pointers and the events to wait for, and returns the
 * event of the last command: the results are complete when it is. The memory must stay valid until then. On a GPU
 * device the calling thread blocks until the given events have finished; max, min and min_max block until their
 * results are there if they take several passes. On a CPU device a call that needs memory for intermediate results
 * (central_sum about a computed mean, central_moment, variation, skewness, kurtosis) blocks until its results are there,
 * and any other call returns at once.
 * - central_sum, central_moment, variation, skewness and kurtosis also exist with a caller's mean in front of
 * the dataset, an array of `n_dims` elements; the estimate is then taken about this mean instead of the
 * computed one.
 *
 * Outputs have `n_dims` elements; the result of dimension d stands at position d, and a masked dimension's
 * element is left as it was. Optional outputs are absent if their buffer has size 0 or their pointer is null.
 *
 * All arithmetic of a GPU device is done in T. NaN and infinities in the data flow into the results of their
 * dimension only. A variance uses the corrected denominator (n - 1 without weights), central moments of order
 * 3 and 4 the plain total weight.
 *
 * \section errors Errors
 *
 * Argument checks throw invalid_argument before anything is submitted; a device that is neither CPU nor GPU
 * raises unsupported_device after them. USM calls that block for their results may throw device_bad_alloc, on either
 * device; buffer calls report memory that cannot be had as sycl::exception. See exception.hpp.
 */
#pragma once

#include <stats/central_moment.hpp>
#include <stats/central_sum.hpp>
#include <stats/dataset.hpp>
#include <stats/exception.hpp>
#include <stats/kurtosis.hpp>
#include <stats/layout.hpp>
#include <stats/max.hpp>
#include <stats/mean.hpp>
#include <stats/method.hpp>
#include <stats/min.hpp>
#include <stats/min_max.hpp>
#include <stats/raw_moment.hpp>
#include <stats/raw_sum.hpp>
#include <stats/skewness.hpp>
#include <stats/variation.hpp>
