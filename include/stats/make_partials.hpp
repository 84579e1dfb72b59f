/**
 * \file make_partials.hpp
 * \brief Mergeable statistics of a dataset, made by calls of the estimates on any device.
 */
#pragma once

#include <stats/central_sum.hpp>
#include <stats/dataset.hpp>
#include <stats/exception.hpp>
#include <stats/mean.hpp>
#include <stats/min_max.hpp>
#include <stats/partial.hpp>
#include <stats/raw_sum.hpp>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace aurelo::qtx::stats {

namespace detail {

/** \brief Arrays of one call in buffers. */
template <typename T>
class partial_buffers {
public:
    using array = sycl::buffer<T, 1>;

    explicit partial_buffers(sycl::queue& queue) : queue_(queue) {}

    sycl::queue& queue() { return queue_; }
    array hold(const std::vector<T>& contents) { return array(contents.begin(), contents.end()); }
    array absent() { return array(sycl::range<1>(0)); }
    std::vector<T> read(array results, std::size_t) { return fetch(results, results.size()); }

    /** \brief The first \p count elements of a caller's array; none if it is absent. */
    template <typename Element>
    std::vector<Element> fetch(sycl::buffer<Element, 1> source, std::size_t count) {
        if (source.size() == 0) {
            return {};
        }
        const sycl::host_accessor values(source, sycl::read_only);
        return std::vector<Element>(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count));
    }

private:
    sycl::queue& queue_;
};

/** \brief Arrays of one call in shared memory, freed together when no command uses them any more. */
template <typename T>
class partial_pointers {
public:
    using array = T*;

    explicit partial_pointers(sycl::queue& queue) : queue_(queue) {}
    partial_pointers(const partial_pointers&) = delete;
    partial_pointers& operator=(const partial_pointers&) = delete;
    ~partial_pointers() {
        try {
            queue_.wait();
        } catch (const std::exception&) {
            // An error is on its way already; commands that failed no longer use the memory.
        }
        for (T* const block : blocks_) {
            sycl::free(block, queue_);
        }
    }

    sycl::queue& queue() { return queue_; }
    T* hold(const std::vector<T>& contents) {
        blocks_.reserve(blocks_.size() + 1);
        T* const block = sycl::malloc_shared<T>(contents.size(), queue_);
        if (block == nullptr) {
            throw device_bad_alloc("stats", "make_partials", queue_.get_device());
        }
        blocks_.push_back(block);
        std::copy(contents.begin(), contents.end(), block);
        return block;
    }
    T* absent() { return nullptr; }
    std::vector<T> read(const T* results, std::size_t count) { return {results, results + count}; }

    template <typename Element>
    std::vector<Element> fetch(const Element* source, std::size_t count) {
        std::vector<Element> copy(source == nullptr ? 0 : count);
        if (!copy.empty()) {
            queue_.memcpy(copy.data(), source, count * sizeof(Element)).wait_and_throw();
        }
        return copy;
    }

private:
    sycl::queue& queue_;
    std::vector<T*> blocks_;
};

/** \brief A sum that keeps what its additions round away. */
class compensated_sum {
public:
    void add(double x) {
        const double sum = high_ + x;
        const double part = sum - high_;
        low_ += (high_ - (sum - part)) + (x - part);
        high_ = sum;
    }
    double value() const { return std::isfinite(high_) ? high_ + low_ : high_; }

private:
    double high_ = 0;
    double low_ = 0;
};

/** \brief Count and weights of all observations, as every dimension begins with them. */
template <typename T>
partial weigh(const std::vector<T>& weights, std::int64_t n_observations) {
    partial p;
    p.count = n_observations;
    p.weight = p.square_weight = static_cast<double>(n_observations);
    if (!weights.empty()) {
        compensated_sum sum;
        compensated_sum squares;
        for (const T given : weights) {
            const double w = given > 0 ? static_cast<double>(given) : 1;
            sum.add(w);
            squares.add(w * w);
        }
        p.weight = sum.value();
        p.square_weight = squares.value();
    }
    return p;
}

/**
 * \brief Where sums of powers of differences are taken about, and where the mean is from there.
 *
 * A mean that a device returns is rounded to T, which for data far from 0 leaves too little of it for
 * differences between parts. So it serves as a center u only; the distance d of the true mean from it follows
 * from central sums of order 2 about u and about a probe v = u + h, with W the total weight:
 * C2(v) = C2(u) - 2 * h * W * d + W * h^2. With h about the deviation this yields d to a few roundings in T of
 * the deviation, however far from 0 the data are.
 */
template <typename T>
struct center {
    T at;
    T probe = at;
    double offset = 0;
    double deviation = 0; /**< about `at` */
    double central[3] = {};

    /** \brief Takes the central sums of order 2 to 4 about `at`, and chooses the probe. */
    void set_central(double c2, double c3, double c4, double weight) {
        const double taken[3] = {c2, c3, c4};
        std::copy(taken, taken + 3, central);
        deviation = std::sqrt(c2 / weight);
        offset = 0;
        probe = at;
        if (measurable()) {
            // Towards 0, where nothing overflows.
            probe = at + static_cast<T>(at > 0 ? -deviation : deviation);
            if (probe == at) {
                probe = std::nextafter(at, at > 0 ? std::numeric_limits<T>::lowest()
                                                  : std::numeric_limits<T>::max());
            }
        }
    }

    /** \brief Takes the central sum of order 2 about the probe. */
    void set_probed(double c2, double weight) {
        if (!measurable()) {
            return;
        }
        const double h = static_cast<double>(probe) - static_cast<double>(at);
        offset = ((central[0] - c2) / (weight * h) + h) / 2;
        // What the sums' own roundings can make of nothing: the mean as given is at least as good then.
        const double noise = 4 * static_cast<double>(std::numeric_limits<T>::epsilon()) * deviation;
        if (!(std::abs(offset) > noise)) {
            offset = 0;
        }
    }

    /** \brief Moves a center that is too far from the mean for its sums to be good; whether it moved. */
    bool recenter() {
        const T better = static_cast<T>(static_cast<double>(at) + offset);
        if (!(std::abs(offset) > deviation / 2) || better == at) {
            return false;
        }
        at = better;
        return true;
    }

    /** \brief Stores mean and central sums about the mean. */
    void store(partial& p) const {
        const double d = offset;
        const double square = p.weight * d * d;
        const double* const c = central;
        set_mean(p, static_cast<double>(at), d);
        p.central_sum[0] = c[0] < square ? 0 : c[0] - square;
        p.central_sum[1] = c[1] - d * (3 * c[0] - 2 * square);
        p.central_sum[2] = c[2] - 4 * d * c[1] + d * d * (6 * c[0] - 3 * square);
    }

private:
    bool measurable() const { return deviation > 0 && std::isfinite(deviation) && std::isfinite(at); }
};

/** \brief The passes over the data, each waited for; \p Arrays says where results are. */
template <typename T, typename Data, typename Arrays>
class partial_passes {
public:
    partial_passes(Arrays& arrays, const Data& data)
        : arrays_(arrays), data_(data), n_dims_(static_cast<std::size_t>(data.n_dims)),
          weights_(weigh(arrays.fetch(data.weights, static_cast<std::size_t>(data.n_observations)),
                         data.n_observations)) {}

    std::vector<partial> run() {
        std::vector<partial> result(n_dims_, weights_);
        store_raw(result);
        // A mean that is good to half a deviation, as nearly all are, needs one round.
        constexpr int last_round = 2;
        for (int round = 0;; ++round) {
            measure_centers();
            if (round == last_round || !recenter()) {
                break;
            }
        }
        for (std::size_t d = 0; d < n_dims_; ++d) {
            centers_[d].store(result[d]);
        }
        leave_out_masked(result);
        return result;
    }

private:
    using array = typename Arrays::array;

    /** \brief What stays where a command failed. */
    array make_output() { return arrays_.hold(std::vector<T>(n_dims_, std::numeric_limits<T>::quiet_NaN())); }

    void store_raw(std::vector<partial>& result) {
        array outputs[] = {make_output(), make_output(), make_output(), make_output(),
                           make_output(), make_output(), make_output()};
        sycl::queue& queue = arrays_.queue();
        raw_sum(queue, data_, outputs[0], outputs[1], outputs[2], outputs[3]);
        min_max(queue, data_, outputs[4], outputs[5]);
        mean(queue, data_, outputs[6]);
        queue.wait_and_throw();
        for (int k = 0; k < 4; ++k) {
            const std::vector<T> sums = arrays_.read(outputs[k], n_dims_);
            for (std::size_t d = 0; d < n_dims_; ++d) {
                result[d].raw_sum[k] = sums[d];
            }
        }
        const std::vector<T> smallest = arrays_.read(outputs[4], n_dims_);
        const std::vector<T> largest = arrays_.read(outputs[5], n_dims_);
        for (std::size_t d = 0; d < n_dims_; ++d) {
            result[d].min = smallest[d];
            result[d].max = largest[d];
        }
        for (const T at : arrays_.read(outputs[6], n_dims_)) {
            centers_.push_back({at});
        }
    }

    void measure_centers() {
        array outputs[] = {make_output(), make_output(), make_output(), make_output()};
        sycl::queue& queue = arrays_.queue();
        central_sum(queue, hold_points(&center<T>::at), data_, outputs[0], outputs[1], outputs[2]);
        queue.wait_and_throw();
        const std::vector<T> c2 = arrays_.read(outputs[0], n_dims_);
        const std::vector<T> c3 = arrays_.read(outputs[1], n_dims_);
        const std::vector<T> c4 = arrays_.read(outputs[2], n_dims_);
        for (std::size_t d = 0; d < n_dims_; ++d) {
            centers_[d].set_central(c2[d], c3[d], c4[d], weights_.weight);
        }
        central_sum(queue, hold_points(&center<T>::probe), data_, outputs[3], arrays_.absent(),
                    arrays_.absent());
        queue.wait_and_throw();
        const std::vector<T> probed = arrays_.read(outputs[3], n_dims_);
        for (std::size_t d = 0; d < n_dims_; ++d) {
            centers_[d].set_probed(probed[d], weights_.weight);
        }
    }

    bool recenter() {
        bool moved = false;
        for (center<T>& each : centers_) {
            moved = each.recenter() || moved;
        }
        return moved;
    }

    array hold_points(T center<T>::*point) {
        std::vector<T> points;
        for (const center<T>& each : centers_) {
            points.push_back(each.*point);
        }
        return arrays_.hold(points);
    }

    void leave_out_masked(std::vector<partial>& result) {
        const std::vector<std::int64_t> mask = arrays_.fetch(data_.indices, n_dims_);
        for (std::size_t d = 0; d < mask.size(); ++d) {
            if (mask[d] == 0) {
                result[d] = partial{};
            }
        }
    }

    Arrays& arrays_;
    const Data& data_;
    std::size_t n_dims_;
    partial weights_;
    std::vector<center<T>> centers_;
};

template <typename T, typename Data, typename Arrays>
std::vector<partial> partials_of(Arrays&& arrays, const Data& data) {
    if (data.n_dims < 1) {
        throw invalid_argument("stats", "make_partials",
                               "n_dims is " + std::to_string(data.n_dims) + ", which is below 1");
    }
    if (data.n_observations < 0) {
        throw invalid_argument("stats", "make_partials",
                               "n_observations is " + std::to_string(data.n_observations) +
                                   ", which is below 0");
    }
    if (data.n_observations == 0) {
        return std::vector<partial>(static_cast<std::size_t>(data.n_dims));
    }
    return partial_passes<T, Data, std::remove_reference_t<Arrays>>(arrays, data).run();
}

} // namespace detail

/**
 * \brief The statistics of every dimension of \p data, as values to merge() with those of other observations.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset, of any layout, with weights and mask or without; not changed
 * \return `data.n_dims` records; that of a masked dimension, and all where `n_observations` is 0, are the
 * identity
 * \throws invalid_argument if `n_dims` is below 1 or `n_observations` below 0
 * \throws unsupported_device if the device is neither a CPU nor a GPU
 *
 * Blocks until the results are there. Five passes over the data: mean, raw_sum(), min_max() and central_sum()
 * twice about a mean of the caller, so that on a GPU device, too, data whose mean is large against their spread
 * keep their digits. Two more if the device's mean was off by more than half of the deviation.
 *
 * The weights are copied to the host and summed there by the rule of all estimates: one that is not greater than
 * 0, or NaN, counts as 1. Each central sum of order k is good to the error that the device makes in a sum of
 * w * |x - mean|^k in T, times at most 5^k; raw sums and extremes are those of the estimates, without change.
 *
 * Asynchronous errors go to the queue's handler. If that returns, the results of commands that failed are NaN.
 */
template <typename T, layout L>
std::vector<partial> make_partials(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data) {
    return detail::partials_of<T>(detail::partial_buffers<T>(queue), data);
}

/**
 * \brief The same in unified shared memory; results pass through allocations of malloc_shared.
 * \param queue a queue on a CPU or GPU device
 * \param data the dataset, of any layout, with weights and mask or without; not changed
 * \param dependencies events that must finish before the data are read; waited for on the calling thread
 * \throws device_bad_alloc if there is no shared memory for the results
 */
template <typename T, layout L>
std::vector<partial> make_partials(sycl::queue& queue, const dataset<L, T*>& data,
                                   const std::vector<sycl::event>& dependencies = {}) {
    sycl::event::wait_and_throw(dependencies);
    return detail::partials_of<T>(detail::partial_pointers<T>(queue), data);
}

} // namespace aurelo::qtx::stats
