#include "description.hpp"

#include <algorithm>
#include <limits>

namespace aurelo::qtx::describe {

std::size_t rows_at_once(const options& opts, std::size_t n_columns) {
    if (opts.chunk) {
        return static_cast<std::size_t>(*opts.chunk);
    }
    constexpr std::size_t numbers_at_once = std::size_t(4) << 20U;
    return opts.standard_method() ? std::numeric_limits<std::size_t>::max()
                                  : std::max<std::size_t>(1, numbers_at_once / n_columns);
}

template <typename T>
description<T>::description(const sycl::device& device, const options& opts, estimate_selection selection)
    : opts_(opts), selection_(std::move(selection)), queue_(device) {}

template <typename T>
void description<T>::take(const csv_table<T>& table, bool last) {
    problem<T> data = make_problem(table, opts_);
    n_rows_ += data.n_observations;
    if (last && merger_.n_chunks() == 0 && !opts_.chunk) {
        compute_whole(data);
    } else {
        add_chunk(data);
    }
    if (last) {
        end(std::move(data));
    }
}

template <typename T>
void description<T>::compute_whole(const problem<T>& data) {
    const computation what{plan_calls(selection_, opts_.mean.has_value()), opts_.standard_method()};
    results_ = opts_.form == "buffer" ? compute_with_buffers(queue_, data, what)
                                      : compute_with_usm(queue_, data, what);
}

template <typename T>
void description<T>::add_chunk(const problem<T>& data) {
    merger_.add(opts_.form == "buffer" ? partials_with_buffers(queue_, data)
                                       : partials_with_usm(queue_, data));
}

template <typename T>
void description<T>::end(problem<T>&& data) {
    if (merger_.n_chunks() > 0) {
        results_ = computed_of(merger_.total(), selection_, data.mean);
    }
    data.observations.clear();
    data.weights.clear();
    data.n_observations = n_rows_;
    shape_ = std::move(data);
}

template <typename T>
report<T> description<T>::finished(const device_facts& facts) const {
    return {opts_, shape_, facts, results_, merger_.n_chunks()};
}

template class description<float>;
template class description<double>;

} // namespace aurelo::qtx::describe
