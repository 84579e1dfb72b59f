#include "libraries.hpp"
#include "threaded.hpp"

#include <Eigen/Core>

namespace peers {
namespace {

/// \brief Sums over rows of \p Dims values, \p Rows rows at a time as one fixed-size array of whole vectors.
template <int Dims, int Rows>
struct fixed {
    static constexpr int width = Dims * Rows;
    using values = Eigen::Array<double, width, 1>;

    template <class T>
    static values load(const T* data) {
        return Eigen::Map<const Eigen::Array<T, width, 1>>(data).template cast<double>();
    }

    /// The weights of the rows, each repeated for every value of its row.
    template <class T>
    static values spread(const T* weights) {
        values w;
        for (int r = 0; r < Rows; ++r) {
            w.template segment<Dims>(r * Dims).setConstant(static_cast<double>(weights[r]));
        }
        return w;
    }

    static values tile(const double* of_dims) {
        values v;
        for (int i = 0; i < width; ++i) {
            v[i] = of_dims ? of_dims[i % Dims] : 0.0;
        }
        return v;
    }

    static void fold(const values& v, double* sums) {
        for (int i = 0; i < width; ++i) {
            sums[i % Dims] += v[i];
        }
    }

    template <unsigned Orders, bool Weighted, class T>
    static void power_sums(const slice<T>& s, const double* mean, const order_sums& out) {
        const values m = tile(mean);
        values sum[5];
        for (values& v : sum) {
            v.setZero();
        }
        std::int64_t row = 0;
        for (; row + Rows <= s.rows; row += Rows) {
            const values x = load(s.data + row * Dims) - m;
            const values x2 = x * x;
            if constexpr (Weighted) {
                const values w = spread(s.weights + row);
                const values wx2 = w * x2;
                add<Orders>(sum, w * x, wx2, wx2 * x, wx2 * x2);
            } else {
                add<Orders>(sum, x, x2, x2 * x, x2 * x2);
            }
        }
        store<Orders>(sum, out);
        rest<Orders>(s, row, mean, out);
    }

    template <unsigned Orders, class A, class B, class C, class D>
    static void add(values* sum, const A& first, const B& second, const C& third, const D& fourth) {
        if constexpr ((Orders & 1u << 1) != 0) {
            sum[1] += first;
        }
        if constexpr ((Orders & 1u << 2) != 0) {
            sum[2] += second;
        }
        if constexpr ((Orders & 1u << 3) != 0) {
            sum[3] += third;
        }
        if constexpr ((Orders & 1u << 4) != 0) {
            sum[4] += fourth;
        }
    }

    template <unsigned Orders>
    static void store(const values* sum, const order_sums& out) {
        for (unsigned k = 1; k <= 4; ++k) {
            if (Orders & 1u << k) {
                fold(sum[k], out.order[k]);
            }
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
        using raw = Eigen::Array<T, width, 1>;
        raw low = raw::Constant(std::numeric_limits<T>::infinity()), high = -low;
        std::int64_t row = 0;
        for (; row + Rows <= s.rows; row += Rows) {
            const Eigen::Map<const raw> x(s.data + row * Dims);
            low = low.min(x);
            high = high.max(x);
        }
        for (int i = 0; i < width; ++i) {
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
        return call(fixed<1, 64>());
    case 3:
        return call(fixed<3, 16>());
    case 8:
        return call(fixed<8, 8>());
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
                loop.template power_sums<Orders, true>(s, mean, out);
            } else {
                loop.template power_sums<Orders, false>(s, mean, out);
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
