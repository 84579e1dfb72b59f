#include "libraries.hpp"
#include "threaded.hpp"

#include <Eigen/Core>

#include <stdexcept>
#include <utility>

namespace peers {
namespace {

constexpr int lanes = 8;
using vec = Eigen::Array<double, lanes, 1>;

/// \brief Sums over rows of \p Dims values, \p Rows rows at a time as whole vectors. Larger arrays than one vector would
/// go to memory and back with every operation.
template <int Dims, int Rows>
struct fixed {
    static constexpr int width = Dims * Rows;
    static constexpr int vectors = width / lanes;
    static_assert(width % lanes == 0);
    using all_vectors = std::make_integer_sequence<int, vectors>;

    template <class T>
    static vec load(const T* data) {
        return Eigen::Map<const Eigen::Array<T, lanes, 1>>(data).template cast<double>();
    }

    /// The weights of vector \p J of a group of rows, each repeated for every value of its row.
    template <int J, class T>
    static vec spread(const T* weights) {
        constexpr int first = J * lanes / Dims, last = (J * lanes + lanes - 1) / Dims;
        if constexpr (Dims == 1) {
            return load(weights + J * lanes);
        } else if constexpr (first == last) {
            return vec::Constant(static_cast<double>(weights[first]));
        } else {
            vec w;
            for (int l = 0; l < lanes; ++l) {
                w[l] = static_cast<double>(weights[(J * lanes + l) / Dims]);
            }
            return w;
        }
    }

    struct state {
        vec mean[vectors];
        vec sum[5][vectors];
    };

    template <unsigned Orders, bool Weighted, class T, int... J>
    static void power_sums(const slice<T>& s, const double* mean, const order_sums& out,
                           std::integer_sequence<int, J...> every) {
        state st;
        for (int i = 0; i < width; ++i) {
            st.mean[i / lanes][i % lanes] = mean ? mean[i % Dims] : 0.0;
        }
        ((st.sum[1][J] = st.sum[2][J] = st.sum[3][J] = st.sum[4][J] = vec::Zero()), ...);
        std::int64_t row = 0;
        for (; row + Rows <= s.rows; row += Rows) {
            (add<Orders, Weighted, J>(s, row, st), ...);
        }
        store<Orders>(st, out, every);
        rest<Orders>(s, row, mean, out);
    }

    template <unsigned Orders, bool Weighted, int J, class T>
    static void add(const slice<T>& s, std::int64_t row, state& st) {
        const vec x = load(s.data + row * Dims + J * lanes) - st.mean[J];
        vec power = x * x;
        vec first = x;
        if constexpr (Weighted) {
            first *= spread<J>(s.weights + row);
            power = first * x;
        }
        if constexpr ((Orders & 1u << 1) != 0) {
            st.sum[1][J] += first;
        }
        if constexpr ((Orders & 1u << 2) != 0) {
            st.sum[2][J] += power;
        }
        if constexpr ((Orders & 1u << 3) != 0) {
            st.sum[3][J] += power * x;
        }
        if constexpr ((Orders & 1u << 4) != 0) {
            st.sum[4][J] += power * (x * x);
        }
    }

    template <unsigned Orders, int... J>
    static void store(const state& st, const order_sums& out, std::integer_sequence<int, J...>) {
        for (unsigned k = 1; k <= 4; ++k) {
            if (Orders & 1u << k) {
                (fold<J>(st.sum[k][J], out.order[k]), ...);
            }
        }
    }

    template <int J>
    static void fold(const vec& v, double* sums) {
        for (int l = 0; l < lanes; ++l) {
            sums[(J * lanes + l) % Dims] += v[l];
        }
    }

    template <unsigned Orders, class T>
    static void rest(const slice<T>& s, std::int64_t row, const double* mean, const order_sums& out) {
        for (; row < s.rows; ++row) {
            for (int d = 0; d < Dims; ++d) {
                const double x = static_cast<double>(s.data[row * Dims + d]) - (mean ? mean[d] : 0.0);
                double power = s.weights ? static_cast<double>(s.weights[row]) : 1.0;
                for (unsigned k = 1; k <= 4; ++k) {
                    power *= x;
                    if (Orders & 1u << k) {
                        out.order[k][d] += power;
                    }
                }
            }
        }
    }

    template <class T>
    static void extremes(const slice<T>& s, double* min, double* max) {
        constexpr int tile = 2 * width; // whole vectors of either type
        using values = Eigen::Array<T, tile, 1>;
        values low = values::Constant(std::numeric_limits<T>::infinity()), high = -low;
        std::int64_t row = 0;
        for (; row + 2 * Rows <= s.rows; row += 2 * Rows) {
            const Eigen::Map<const values> x(s.data + row * Dims);
            low = low.min(x);
            high = high.max(x);
        }
        for (int i = 0; i < tile; ++i) {
            min[i % Dims] = std::min(min[i % Dims], static_cast<double>(low[i]));
            max[i % Dims] = std::max(max[i % Dims], static_cast<double>(high[i]));
        }
        for (std::int64_t i = row * Dims; i < s.rows * Dims; ++i) {
            min[i % Dims] = std::min(min[i % Dims], static_cast<double>(s.data[i]));
            max[i % Dims] = std::max(max[i % Dims], static_cast<double>(s.data[i]));
        }
    }
};

template <class Call>
void with_dims(std::int64_t dims, Call&& call) {
    switch (dims) {
    case 1:
        return call(fixed<1, 32>());
    case 3:
        return call(fixed<3, 8>());
    case 8:
        return call(fixed<8, 4>());
    case 100:
        return call(fixed<100, 2>());
    default:
        throw std::invalid_argument(
            "the loop over fixed-size columns is compiled for 1, 3, 8 and 100 dimensions");
    }
}

struct library {
    static constexpr std::int64_t block_elements = std::int64_t(1) << 40;

    template <unsigned Orders, class T>
    static void power_sums(const slice<T>& s, const double* mean, const order_sums& out) {
        with_dims(s.dims, [&](auto loop) {
            if (s.weights) {
                loop.template power_sums<Orders, true>(s, mean, out, typename decltype(loop)::all_vectors());
            } else {
                loop.template power_sums<Orders, false>(s, mean, out, typename decltype(loop)::all_vectors());
            }
        });
    }

    template <class T>
    static void sum(const slice<T>& s, double* sums) {
        order_sums out;
        out.order[1] = sums;
        power_sums<1u << 1>(s, nullptr, out);
    }
    template <unsigned Orders, class T>
    static void central(const slice<T>& s, const double* mean, const order_sums& out) {
        power_sums<Orders>(s, mean, out);
    }
    template <unsigned Orders, class T>
    static void raw(const slice<T>& s, const order_sums& out) {
        power_sums<Orders>(s, nullptr, out);
    }
    template <class T>
    static void extremes(const slice<T>& s, double* min, double* max) {
        with_dims(s.dims, [&](auto loop) { loop.extremes(s, min, max); });
    }
    template <class T>
    static void weight_sums(const T* w, std::int64_t n, int threads, double& sum, double& squares) {
        plain_weight_sums(w, n, threads, sum, squares);
    }
};

} // namespace

template <class T>
job eigen_loop(estimate e, const matrix<T>& m, int threads, double* out) {
    return threaded_job<library>(e, m, threads, out);
}

template job eigen_loop(estimate, const matrix<float>&, int, double*);
template job eigen_loop(estimate, const matrix<double>&, int, double*);

} // namespace peers
