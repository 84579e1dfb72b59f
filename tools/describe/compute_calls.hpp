#pragma once

#include <algorithm>
#include <array>

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

/// The same for the layout of \p data.
template <typename Storage, typename T>
std::vector<computed<T>> compute_in(Storage& storage, compute_queue& queue, const problem<T>& data,
                                    const computation& what) {
    return data.by_observation ? compute_in<stats::layout::by_observation>(storage, queue, data, what)
                               : compute_in<stats::layout::by_dimension>(storage, queue, data, what);
}

} // namespace aurelo::qtx::describe
