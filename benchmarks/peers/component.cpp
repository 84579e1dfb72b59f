// The component that the CPU path drives, without the library around it: what a public call can cost at the least.
#include "ours.hpp"
#include "tsb/summary_statistics.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace peers {
namespace {

void check(std::int32_t status, const char* what) {
    if (status != TSB_SS_OK) {
        throw std::runtime_error(fmt::format("component: {} failed with status {}", what, status));
    }
}

template <class T>
struct api;

template <>
struct api<double> {
    static constexpr auto make = tsbdSSNewTask_64;
    static constexpr auto edit = tsbdSSEditTask;
    static constexpr auto compute = tsbdSSCompute;
};

template <>
struct api<float> {
    static constexpr auto make = tsbsSSNewTask_64;
    static constexpr auto edit = tsbsSSEditTask;
    static constexpr auto compute = tsbsSSCompute;
};

struct request {
    std::uint64_t bits;
    std::vector<std::int64_t> parameters; ///< of the outputs, in their order
};

request request_of(estimate e) {
    switch (e) {
    case estimate::kurtosis:
        return {TSB_SS_EST_KURTOSIS, {TSB_SS_PARAM_KURTOSIS}};
    case estimate::mean:
        return {TSB_SS_EST_MEAN, {TSB_SS_PARAM_MEAN}};
    case estimate::min_max:
        return {TSB_SS_EST_MIN | TSB_SS_EST_MAX, {TSB_SS_PARAM_MIN, TSB_SS_PARAM_MAX}};
    default:
        throw std::invalid_argument(fmt::format("component: {} is not compared directly", name_of(e)));
    }
}

} // namespace

template <class T>
job component(estimate e, const matrix<T>& m, double* out) {
    return [m, out, r = request_of(e),
            results = std::vector<T>(static_cast<std::size_t>(outputs_of(e) * m.dims)),
            storage = std::int64_t(m.by_dimension ? TSB_SS_STORAGE_BY_DIMENSION
                                                  : TSB_SS_STORAGE_BY_OBSERVATION)]() mutable {
        void* task = nullptr;
        check(api<T>::make(&task, &m.dims, &m.observations, &storage, m.data, m.weights, nullptr),
              "new task");
        T* next = results.data();
        for (const std::int64_t parameter : r.parameters) {
            check(api<T>::edit(task, parameter, next), "edit");
            next += m.dims;
        }
        check(api<T>::compute(task, r.bits, TSB_SS_METHOD_FAST), "compute");
        check(tsbSSDeleteTask(&task), "delete");
        std::copy(results.begin(), results.end(), out);
    };
}

template job component(estimate, const matrix<float>&, double*);
template job component(estimate, const matrix<double>&, double*);

} // namespace peers
