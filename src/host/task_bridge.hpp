/**
 * \file task_bridge.hpp
 * \brief Calls of the CPU statistics component whose failures are exceptions.
 *
 * Every function makes one call; a status other than 0 becomes a computation_error. Nothing is undone then.
 */
#pragma once

#include "component.hpp"

#include <cstdint>

namespace aurelo::qtx::stats::detail {

/** \brief \throws computation_error if \p status is not 0, positive statuses included. */
void check_status(std::int32_t status);

/** \brief Makes a task; the addresses of the counts and of the storage code must live as long as it does. */
template <typename T>
void create_new_task(void** task, const std::int64_t* n_dims, const std::int64_t* n_observations,
                     const std::int64_t* storage, const T* observations, const T* weights,
                     const std::int64_t* indices) {
    check_status(
        component<T>::new_task(task, n_dims, n_observations, storage, observations, weights, indices));
}

/** \brief Registers one array. */
template <typename T>
void edit_task(void* task, std::int64_t parameter, T* array) {
    check_status(component<T>::edit_task(task, parameter, array));
}

/** \brief Registers the sum, raw sums 2 to 4 and central sums 2 to 4; null means none. */
template <typename T>
void edit_task_sum(void* task, T* sum, T* raw2, T* raw3, T* raw4, T* central2, T* central3, T* central4) {
    check_status(component<T>::edit_sums(task, sum, raw2, raw3, raw4, central2, central3, central4));
}

/** \brief Computes the masked estimates. The mask keeps its 64 bits, the method code is passed on in 32. */
template <typename T>
void compute(void* task, std::uint64_t estimates, std::int64_t method) {
    check_status(component<T>::compute(task, estimates, static_cast<std::int32_t>(method)));
}

/** \brief Releases a task of either type. */
void delete_task(void** task);

/** \brief Deletes a task on every way out. */
class owned_task {
public:
    owned_task() = default;
    /** \brief On the way of an exception; a second failure has nobody to tell. */
    ~owned_task();
    owned_task(const owned_task&) = delete;
    owned_task& operator=(const owned_task&) = delete;

    void** address() { return &task_; }
    void* get() const { return task_; }
    /** \brief The regular end. \throws computation_error if the component cannot delete the task. */
    void finish();

private:
    void* task_ = nullptr;
};

} // namespace aurelo::qtx::stats::detail
