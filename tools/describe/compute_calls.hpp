#pragma once

#include <algorithm>
#include <array>

#include <stats/make_partials.hpp>

#include "compute.hpp"
#include "library_calls.hpp"

namespace aurelo::qtx::describe {

/// A call under way and the arrays that it fills.
template <typename Array>
struct pending_call {
    const planned_call* planned;
    std::array<Array, 4> outputs;
};

/// Submits all calls, waits once, and reads the results. \p Storage makes and reads the arrays of one form.
template <stats::layout L, typename Storage, typename T>
std::vector<computed<T>> compute_in(Storage& storage, compute_queue& queue, const problem<T>& data,
                                    const computation& what) {
    using array = typename Storage::template array<T>;
    const auto dataset = storage.template make_dataset<L>(data);
    const array mean = storage.upload(data.mean);
    std::vector<pending_call<array>> pending;
    for (const planned_call& planned : what.calls) {
        const auto output = [&](std::size_t i) {
            return storage.make_output(planned.needs(i) ? data.n_dims() : 0);
        };
        pending.push_back({&planned, {output(0), output(1), output(2), output(3)}});
        make_call(planned, what.standard_method, queue.get(), dataset, mean, pending.back().outputs);
    }
    queue.finish();

    std::vector<computed<T>> results;
    for (pending_call<array>& call : pending) {
        for (std::size_t i = 0; i < call.outputs.size(); ++i) {
            if (const estimate* wanted = call.planned->outputs[i]) {
                results.push_back({wanted, storage.read(call.outputs[i], data.n_dims())});
            }
        }
    }
    std::sort(results.begin(), results.end(), [](const auto& a, const auto& b) { return a.what < b.what; });
    return results;
}

/// Calls \p use with the layout of \p data as its template argument.
template <typename T, typename Use>
auto with_layout_of(const problem<T>& data, const Use& use) {
    return data.by_observation ? use.template operator()<stats::layout::by_observation>()
                               : use.template operator()<stats::layout::by_dimension>();
}

/// The same for the layout of \p data.
template <typename Storage, typename T>
std::vector<computed<T>> compute_in(Storage& storage, compute_queue& queue, const problem<T>& data,
                                    const computation& what) {
    return with_layout_of(data, [&]<stats::layout L>() { return compute_in<L>(storage, queue, data, what); });
}

/// Statistics that merge, of arrays made by \p storage.
template <typename Storage, typename T>
std::vector<stats::partial> partials_in(Storage& storage, compute_queue& queue, const problem<T>& data) {
    return with_layout_of(data, [&]<stats::layout L>() {
        auto partials = stats::make_partials(queue.get(), storage.template make_dataset<L>(data));
        queue.finish();
        return partials;
    });
}

} // namespace aurelo::qtx::describe
