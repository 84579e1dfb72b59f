/**
 * \file submit.hpp
 * \brief The one command of an estimate on a CPU device: a host task that makes a task of the component,
 * hands it to the functor and deletes it.
 *
 * The only place where accessors turn into plain pointers. Nothing here waits: order against other commands
 * comes from the accessors, or from the caller's dependencies. An error of the component reaches the queue's
 * handler.
 */
#pragma once

#include "task_bridge.hpp"

#include <stats/dataset.hpp>

#include <sycl/sycl.hpp>

#include <cstdint>
#include <vector>

namespace aurelo::qtx::stats::detail::cpu {

/** \brief The body of the host task. The component keeps the addresses of the three integers. */
template <typename T, layout L, typename Func>
void run_task(std::int64_t n_dims, std::int64_t n_observations, const T* observations, const T* weights,
              const std::int64_t* indices, const Func& func) {
    const auto storage = static_cast<std::int64_t>(L);
    owned_task task;
    create_new_task<T>(task.address(), &n_dims, &n_observations, &storage, observations, weights, indices);
    func(task.get());
    task.finish();
}

/** \brief An input that a command group binds, or that its dataset does not have. */
template <bool present, typename T>
class bound_input;

template <typename T>
class bound_input<true, T> {
public:
    bound_input(sycl::buffer<T, 1>& input, sycl::handler& handler)
        : input_(input, handler, sycl::read_only) {}
    const T* get() const { return input_.template get_multi_ptr<sycl::access::decorated::no>().get(); }

private:
    sycl::accessor<const T, 1, sycl::access::mode::read, sycl::target::device> input_;
};

template <typename T>
class bound_input<false, T> {
public:
    bound_input(sycl::buffer<T, 1>&, sycl::handler&) {}
    const T* get() const { return nullptr; }
};

template <bool has_weights, bool has_indices, typename T, layout L, typename Func>
sycl::event submit_bound(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>>& data, Func& func) {
    return queue.submit([&](sycl::handler& handler) {
        const bound_input<true, T> observations(data.observations, handler);
        const bound_input<has_weights, T> weights(data.weights, handler);
        const bound_input<has_indices, std::int64_t> indices(data.indices, handler);
        func.set_requirements(handler);
        // No buffer of the dataset: a captured handle would let the destructor of the user's own buffer return while the
        // command still reads the user's memory.
        handler.host_task([n_dims = data.n_dims, n_observations = data.n_observations, observations, weights,
                           indices, func] {
            run_task<T, L>(n_dims, n_observations, observations.get(), weights.get(), indices.get(), func);
        });
    });
}

/** \brief Submits the buffer form; one of four command groups, so that none tests what is present. */
template <typename T, layout L, typename Func>
sycl::event submit(sycl::queue& queue, dataset<L, sycl::buffer<T, 1>> data, Func& func) {
    const bool has_weights = data.weights.size() != 0;
    const bool has_indices = data.indices.size() != 0;
    if (has_weights) {
        return has_indices ? submit_bound<true, true>(queue, data, func)
                           : submit_bound<true, false>(queue, data, func);
    }
    return has_indices ? submit_bound<false, true>(queue, data, func)
                       : submit_bound<false, false>(queue, data, func);
}

/** \brief Submits the USM form; the caller's dependencies are its only order. */
template <typename T, layout L, typename Func>
sycl::event submit(sycl::queue& queue, dataset<L, T*> data, Func& func,
                   const std::vector<sycl::event>& dependencies) {
    return queue.submit([&](sycl::handler& handler) {
        handler.depends_on(dependencies);
        handler.host_task([data, func] {
            run_task<T, L>(data.n_dims, data.n_observations, data.observations, data.weights, data.indices,
                           func);
        });
    });
}

} // namespace aurelo::qtx::stats::detail::cpu
