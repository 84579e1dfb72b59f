#include "libraries.hpp"
#include "threaded.hpp"

#include <Eigen/Core>

namespace peers {
namespace {

template <class T>
using table = Eigen::Map<const Eigen::Array<T, Eigen::Dynamic, Eigen::Dynamic>>;
template <class T>
using column = Eigen::Map<const Eigen::Array<T, Eigen::Dynamic, 1>>;
template <class T>
using row = Eigen::Map<const Eigen::Array<T, 1, Eigen::Dynamic>>;

/// \brief `block` sums to one value per dimension, which is added to \p sums.
template <class Block>
void add_sums(const Block& block, std::int64_t dims, double* sums) {
    if (dims == 1) {
        *sums += static_cast<double>(block.sum());
    } else {
        Eigen::Map<Eigen::ArrayXd>(sums, dims) += block.rowwise().sum().template cast<double>();
    }
}

template <unsigned Orders, class Deviations>
void add_powers(const Deviations& x, std::int64_t dims, const order_sums& out) {
    if constexpr ((Orders & 1u << 1) != 0) {
        add_sums(x, dims, out.order[1]);
    }
    if constexpr ((Orders & 1u << 2) != 0) {
        add_sums(x.square(), dims, out.order[2]);
    }
    if constexpr ((Orders & 1u << 3) != 0) {
        add_sums(x.square() * x, dims, out.order[3]);
    }
    if constexpr ((Orders & 1u << 4) != 0) {
        add_sums(x.square().square(), dims, out.order[4]);
    }
}

/// \brief The same with weights: \p w has the shape of \p x.
template <unsigned Orders, class Deviations, class Weights>
void add_weighted_powers(const Deviations& x, const Weights& w, std::int64_t dims, const order_sums& out) {
    if constexpr ((Orders & 1u << 1) != 0) {
        add_sums(x * w, dims, out.order[1]);
    }
    if constexpr ((Orders & 1u << 2) != 0) {
        add_sums(x.square() * w, dims, out.order[2]);
    }
    if constexpr ((Orders & 1u << 3) != 0) {
        add_sums(x.square() * x * w, dims, out.order[3]);
    }
    if constexpr ((Orders & 1u << 4) != 0) {
        add_sums(x.square().square() * w, dims, out.order[4]);
    }
}

struct library {
    // Each order is one expression: blocks of the second-level cache keep all but the first read out of memory.
    static constexpr std::int64_t block_elements = 16384;

    template <unsigned Orders, class T>
    static void central(const slice<T>& s, const double* mean, const order_sums& out) {
        if (s.dims == 1) {
            const auto x = column<T>(s.data, s.rows) - static_cast<T>(*mean);
            if (s.weights) {
                add_weighted_powers<Orders>(x, column<T>(s.weights, s.rows), 1, out);
            } else {
                add_powers<Orders>(x, 1, out);
            }
            return;
        }
        const Eigen::Array<T, Eigen::Dynamic, 1> m =
            Eigen::Map<const Eigen::ArrayXd>(mean, s.dims).template cast<T>();
        rows_about<Orders>(s, table<T>(s.data, s.dims, s.rows).colwise() - m, out);
    }

    template <unsigned Orders, class T>
    static void raw(const slice<T>& s, const order_sums& out) {
        if (s.dims == 1) {
            if (s.weights) {
                add_weighted_powers<Orders>(column<T>(s.data, s.rows), column<T>(s.weights, s.rows), 1, out);
            } else {
                add_powers<Orders>(column<T>(s.data, s.rows), 1, out);
            }
            return;
        }
        rows_about<Orders>(s, table<T>(s.data, s.dims, s.rows), out);
    }

    template <class T>
    static void sum(const slice<T>& s, double* sums) {
        order_sums out;
        out.order[1] = sums;
        raw<1u << 1>(s, out);
    }

    template <class T>
    static void extremes(const slice<T>& s, double* min, double* max) {
        const table<T> x(s.data, s.dims, s.rows);
        if (s.dims == 1) {
            *min = std::min(*min, static_cast<double>(x.minCoeff()));
            *max = std::max(*max, static_cast<double>(x.maxCoeff()));
            return;
        }
        Eigen::Map<Eigen::ArrayXd> low(min, s.dims), high(max, s.dims);
        low = low.min(x.rowwise().minCoeff().template cast<double>());
        high = high.max(x.rowwise().maxCoeff().template cast<double>());
    }

    template <class T>
    static void weight_sums(const T* w, std::int64_t n, int threads, double& sum, double& squares) {
        plain_weight_sums(w, n, threads, sum, squares);
    }

private:
    template <unsigned Orders, class T, class Deviations>
    static void rows_about(const slice<T>& s, const Deviations& x, const order_sums& out) {
        if (s.weights) {
            add_weighted_powers<Orders>(x, row<T>(s.weights, s.rows).colwise().replicate(s.dims), s.dims,
                                        out);
        } else {
            add_powers<Orders>(x, s.dims, out);
        }
    }
};

} // namespace

template <class T>
job eigen_expressions(estimate e, const matrix<T>& m, int threads, double* out) {
    return threaded_job<library>(e, m, threads, out);
}

template job eigen_expressions(estimate, const matrix<float>&, int, double*);
template job eigen_expressions(estimate, const matrix<double>&, int, double*);

} // namespace peers
