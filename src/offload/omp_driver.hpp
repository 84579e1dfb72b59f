/**
 * \file omp_driver.hpp
 * \brief A statistics task on the device of an OpenMP interop object, for one type, layout and width.
 */
#pragma once

#include "call_setup.hpp"
#include "exception_report.hpp"
#include "openmp_routines.hpp"
#include "statuses.hpp"
#include "task_record.hpp"
#include "work_in_flight.hpp"

#include <stats/dataset.hpp>

#include <tuple>

#include <cxxabi.h>

namespace aurelo::qtx::stats::detail::openmp {

/** \brief What is behind an address in a record; 0 if it is null, so that it is refused like any bad count. */
template <typename Integer>
std::int64_t count_at(const Integer* address) {
    return address == nullptr ? 0 : *address;
}

/** \brief Counts and observations, in the order in which they are refused. */
template <typename Record>
int status_of_data(const Record& task) {
    if (count_at(task.n_observations) < 1) {
        return TSB_SS_BAD_OBSERVATIONS;
    }
    if (count_at(task.n_dims) < 1) {
        return TSB_SS_BAD_DIMENSIONS;
    }
    return task.observations == nullptr ? TSB_SS_NO_OBSERVATIONS : TSB_SS_OK;
}

/** \brief Runs the routines of a mask, each in its turn whatever became of those before it. */
class estimate_walk {
public:
    estimate_walk(estimate_mask estimates, work_in_flight& work) : estimates_(estimates), work_(work) {}

    template <typename Routine>
    void row(estimate_mask bits, const Routine& routine) {
        if ((estimates_ & bits) == 0) {
            return;
        }
        sycl::event event;
        std::tie(event, last_status_) = routine();
        if (last_status_ == TSB_SS_OK) {
            work_.add(event);
        }
    }

    int last_status() const { return last_status_; }

private:
    estimate_mask estimates_;
    work_in_flight& work_;
    int last_status_ = TSB_SS_OK;
};

inline constexpr estimate_mask raw_sum_bits =
    TSB_SS_EST_SUM | TSB_SS_EST_RAW_SUM2 | TSB_SS_EST_RAW_SUM3 | TSB_SS_EST_RAW_SUM4;
inline constexpr estimate_mask raw_moment_bits =
    TSB_SS_EST_MEAN | TSB_SS_EST_RAW2 | TSB_SS_EST_RAW3 | TSB_SS_EST_RAW4;
inline constexpr estimate_mask central_sum_bits =
    TSB_SS_EST_CENTRAL_SUM2 | TSB_SS_EST_CENTRAL_SUM3 | TSB_SS_EST_CENTRAL_SUM4;
inline constexpr estimate_mask central_moment_bits =
    TSB_SS_EST_CENTRAL2 | TSB_SS_EST_CENTRAL3 | TSB_SS_EST_CENTRAL4;

/** \brief The status of the last routine that the mask names. */
template <bool ilp64, typename T, layout L>
int run_estimates(sycl::queue& queue, const task_record<T, ilp64>& t, const dataset<L, T*>& data,
                  estimate_mask estimates, method_code<ilp64> method, work_in_flight& work) {
    estimate_walk walk(estimates, work);
    walk.row(TSB_SS_EST_MIN, [&] { return openmp_min<ilp64>(queue, t.minimum, data, method); });
    walk.row(TSB_SS_EST_MAX, [&] { return openmp_max<ilp64>(queue, t.maximum, data, method); });
    walk.row(raw_sum_bits, [&] {
        return openmp_raw_sum<ilp64>(queue, t.sum, t.raw_sum2, t.raw_sum3, t.raw_sum4, data, method,
                                     estimates);
    });
    walk.row(raw_moment_bits, [&] {
        return openmp_raw_moment<ilp64>(queue, t.mean, t.raw2, t.raw3, t.raw4, data, method, estimates);
    });
    walk.row(central_sum_bits, [&] {
        return openmp_central_sum<ilp64>(queue, t.mean, t.raw2, t.raw3, t.raw4, t.central_sum2,
                                         t.central_sum3, t.central_sum4, data, method, estimates);
    });
    walk.row(central_moment_bits, [&] {
        return openmp_central_moment<ilp64>(queue, t.mean, t.raw2, t.raw3, t.raw4, t.central2, t.central3,
                                            t.central4, data, method, estimates);
    });
    walk.row(TSB_SS_EST_VARIATION, [&] {
        return openmp_variation<ilp64>(queue, t.mean, t.raw2, t.variation, data, method, estimates);
    });
    walk.row(TSB_SS_EST_SKEWNESS, [&] {
        return openmp_skewness<ilp64>(queue, t.mean, t.raw2, t.raw3, t.skewness, data, method, estimates);
    });
    walk.row(TSB_SS_EST_KURTOSIS, [&] {
        return openmp_kurtosis<ilp64>(queue, t.mean, t.raw2, t.raw3, t.raw4, t.kurtosis, data, method,
                                      estimates);
    });
    return walk.last_status();
}

template <typename T, layout L, bool ilp64>
int run_task(const task_record<T, ilp64>& task, estimate_mask estimates, method_code<ilp64> method,
             void* interop) {
    call_setup call;
    if (const int status = call.open(interop); status != TSB_SS_OK) {
        return status;
    }
    if (const int status = status_of_data(task); status != TSB_SS_OK) {
        return status;
    }
    if (!call.reaches_usm_pointers()) {
        return status_unreachable_memory;
    }
    const dataset<L, T*> data(*task.n_dims, *task.n_observations, task.observations, task.weights,
                              task.indices);
    work_in_flight work(*call.queue, call.outcome());
    const int status = run_estimates<ilp64>(*call.queue, task, data, estimates, method, work);
    return call.finish(work) ? status : status_failed;
}

/**
 * \brief Runs the estimates of a mask on a task's arrays. Blocks until the results are complete, or with the
 * interop object's nowait flag until the work is submitted; its completion routine is called later then.
 * Throws nothing; an exception is printed on stderr and becomes the status -2.
 * \return 0 or the status of the last routine run, or the entry's own refusal
 */
template <typename T, layout L, bool ilp64>
int omp_driver(void* task, unsigned long long estimates, method_code<ilp64> method, void* interop) {
    try {
        return run_task<T, L, ilp64>(*static_cast<const task_record<T, ilp64>*>(task), estimates, method,
                                     interop);
    } catch (const abi::__forced_unwind&) {
        throw; // the caller's thread ends
    } catch (...) {
        print_current_exception();
        return status_failed;
    }
}

/** \brief The task's storage code chooses the layout, before anything else is looked at. */
template <typename T, bool ilp64>
int compute_task(void* task, unsigned long long estimates, method_code<ilp64> method, void* interop) {
    const auto* const record = static_cast<const task_record<T, ilp64>*>(task);
    switch (record == nullptr ? 0 : count_at(record->storage)) {
    case TSB_SS_STORAGE_BY_DIMENSION:
        return omp_driver<T, layout::by_dimension, ilp64>(task, estimates, method, interop);
    case TSB_SS_STORAGE_BY_OBSERVATION:
        return omp_driver<T, layout::by_observation, ilp64>(task, estimates, method, interop);
    default:
        return status_bad_storage;
    }
}

} // namespace aurelo::qtx::stats::detail::openmp
