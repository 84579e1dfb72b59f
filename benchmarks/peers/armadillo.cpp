#include "libraries.hpp"
#include "threaded.hpp"

#include <armadillo>

namespace peers {
namespace {

template <class T>
T* writable(const T* data) {
    return const_cast<T*>(data);
}

struct library {
    // Centred copies are made block by block, in the second-level cache.
    static constexpr std::int64_t block_elements = 8192;

    template <class T>
    static arma::Mat<T> view(const slice<T>& s) {
        return {writable(s.data), static_cast<arma::uword>(s.dims), static_cast<arma::uword>(s.rows), false,
                true};
    }
    template <class T>
    static arma::Col<T> weights(const slice<T>& s) {
        return {writable(s.weights), static_cast<arma::uword>(s.rows), false, true};
    }

    template <class T>
    static void add(const arma::Mat<T>& x, const slice<T>& s, double* sums) {
        if (s.dims == 1) {
            *sums += s.weights ? arma::dot(x, weights(s)) : arma::accu(x);
            return;
        }
        const arma::Col<T> total = s.weights ? arma::Col<T>(x * weights(s)) : arma::Col<T>(arma::sum(x, 1));
        for (arma::uword d = 0; d < total.n_elem; ++d) {
            sums[d] += total[d];
        }
    }

    template <unsigned Orders, class T>
    static void powers(const arma::Mat<T>& x, const slice<T>& s, const order_sums& out) {
        if constexpr ((Orders & 1u << 1) != 0) {
            add(x, s, out.order[1]);
        }
        const arma::Mat<T> x2 = arma::square(x);
        if constexpr ((Orders & 1u << 2) != 0) {
            add(x2, s, out.order[2]);
        }
        if constexpr ((Orders & 1u << 3) != 0) {
            add<T>(x2 % x, s, out.order[3]);
        }
        if constexpr ((Orders & 1u << 4) != 0) {
            add<T>(arma::square(x2), s, out.order[4]);
        }
    }

    template <unsigned Orders, class T>
    static void central(const slice<T>& s, const double* mean, const order_sums& out) {
        const arma::Col<T> m = arma::conv_to<arma::Col<T>>::from(
            arma::vec(const_cast<double*>(mean), static_cast<arma::uword>(s.dims), false, true));
        const arma::Mat<T> x =
            s.dims == 1 ? arma::Mat<T>(view(s) - m[0]) : arma::Mat<T>(view(s).each_col() - m);
        powers<Orders>(x, s, out);
    }
    template <unsigned Orders, class T>
    static void raw(const slice<T>& s, const order_sums& out) {
        powers<Orders>(view(s), s, out);
    }
    template <class T>
    static void sum(const slice<T>& s, double* sums) {
        add(view(s), s, sums);
    }
    template <class T>
    static void extremes(const slice<T>& s, double* min, double* max) {
        const arma::Mat<T> x = view(s);
        const arma::Col<T> low = arma::min(x, 1), high = arma::max(x, 1);
        for (arma::uword d = 0; d < low.n_elem; ++d) {
            min[d] = std::min<double>(min[d], low[d]);
            max[d] = std::max<double>(max[d], high[d]);
        }
    }
    template <class T>
    static void weight_sums(const T* w, std::int64_t n, int threads, double& sum, double& squares) {
        plain_weight_sums(w, n, threads, sum, squares);
    }
};

} // namespace

template <class T>
job armadillo(estimate e, const matrix<T>& m, int threads, double* out) {
    return threaded_job<library>(e, m, threads, out);
}

template job armadillo(estimate, const matrix<float>&, int, double*);
template job armadillo(estimate, const matrix<double>&, int, double*);

} // namespace peers
