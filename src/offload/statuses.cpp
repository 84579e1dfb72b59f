#include "statuses.hpp"

namespace aurelo::qtx::stats::detail::openmp {

namespace {

constexpr bool computes_mean(long long method) {
    return method == TSB_SS_METHOD_FAST;
}

constexpr bool is_central_method(long long method) {
    return computes_mean(method) || method == TSB_SS_METHOD_USER_MEAN;
}

constexpr std::array<int, 3> no_raw{TSB_SS_NO_RAW2, TSB_SS_NO_RAW3, TSB_SS_NO_RAW4};

const void* array_at(array_list arrays, std::size_t i) {
    return arrays.begin()[i];
}

/// The status of the first raw moment that is missing, from order 2 to the one that stands at \p last.
int status_of_raw_up_to(std::size_t last, array_list raw) {
    for (std::size_t i = 0; i <= last; ++i) {
        if (array_at(raw, i) == nullptr) {
            return no_raw[i];
        }
    }
    return TSB_SS_OK;
}

int status_of_raw_from_highest(array_list raw) {
    for (std::size_t i = raw.size(); i > 0; --i) {
        if (array_at(raw, i - 1) == nullptr) {
            return no_raw[i - 1];
        }
    }
    return TSB_SS_OK;
}

} // namespace

int status_of_extremum(long long method, const void* result, int missing) {
    if (!computes_mean(method)) {
        return TSB_SS_BAD_METHOD;
    }
    return result == nullptr ? missing : TSB_SS_OK;
}

int status_of_raw(long long method, std::uint64_t estimates, const order_checks<4>& orders,
                  array_list results) {
    if (!computes_mean(method)) {
        return TSB_SS_BAD_METHOD;
    }
    for (std::size_t i = 0; i < orders.size(); ++i) {
        if ((estimates & orders[i].bit) != 0 && array_at(results, i) == nullptr) {
            return orders[i].missing;
        }
    }
    return TSB_SS_OK;
}

int status_of_central(long long method, std::uint64_t estimates, const order_checks<3>& orders,
                      const void* mean, array_list raw, array_list results) {
    if (mean == nullptr) {
        return TSB_SS_NO_MEAN;
    }
    if (!is_central_method(method)) {
        return TSB_SS_BAD_METHOD;
    }
    for (std::size_t i = 0; i < orders.size(); ++i) {
        if ((estimates & orders[i].bit) == 0) {
            continue;
        }
        if (array_at(results, i) == nullptr) {
            return orders[i].missing;
        }
        const int status = computes_mean(method) ? status_of_raw_up_to(i, raw) : TSB_SS_OK;
        if (status != TSB_SS_OK) {
            return status;
        }
    }
    return TSB_SS_OK;
}

int status_of_shape(long long method, const void* mean, array_list raw, const void* result, int missing) {
    if (mean == nullptr) {
        return TSB_SS_NO_MEAN;
    }
    if (!is_central_method(method)) {
        return TSB_SS_BAD_METHOD;
    }
    if (result == nullptr) {
        return missing;
    }
    return computes_mean(method) ? status_of_raw_from_highest(raw) : TSB_SS_OK;
}

} // namespace aurelo::qtx::stats::detail::openmp
