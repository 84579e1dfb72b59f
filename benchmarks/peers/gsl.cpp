#include "libraries.hpp"
#include "threaded.hpp"

#include <gsl/gsl_statistics_double.h>
#include <gsl/gsl_statistics_float.h>

namespace peers {
namespace {

/// \brief The functions of one element type under one name.
template <class T>
struct functions;

template <>
struct functions<double> {
    static constexpr auto mean = gsl_stats_mean;
    static constexpr auto wmean = gsl_stats_wmean;
    static constexpr auto tss_m = gsl_stats_tss_m;
    static constexpr auto wtss_m = gsl_stats_wtss_m;
    static constexpr auto skew = gsl_stats_skew_m_sd;
    static constexpr auto wskew = gsl_stats_wskew_m_sd;
    static constexpr auto kurtosis = gsl_stats_kurtosis_m_sd;
    static constexpr auto wkurtosis = gsl_stats_wkurtosis_m_sd;
    static constexpr auto minmax = gsl_stats_minmax;
};

template <>
struct functions<float> {
    static constexpr auto mean = gsl_stats_float_mean;
    static constexpr auto wmean = gsl_stats_float_wmean;
    static constexpr auto tss_m = gsl_stats_float_tss_m;
    static constexpr auto wtss_m = gsl_stats_float_wtss_m;
    static constexpr auto skew = gsl_stats_float_skew_m_sd;
    static constexpr auto wskew = gsl_stats_float_wskew_m_sd;
    static constexpr auto kurtosis = gsl_stats_float_kurtosis_m_sd;
    static constexpr auto wkurtosis = gsl_stats_float_wkurtosis_m_sd;
    static constexpr auto minmax = gsl_stats_float_minmax;
};

template <std::int64_t Block>
struct library {
    static constexpr std::int64_t block_elements = Block;

    template <class T>
    static void sum(const slice<T>& s, double* sums) {
        using f = functions<T>;
        for_each_column(s, [&](const T* x, std::size_t stride, std::size_t n, double weight, std::size_t d) {
            sums[d] += weight * (s.weights ? f::wmean(s.weights, 1, x, stride, n) : f::mean(x, stride, n));
        });
    }

    /// Skewness and kurtosis about a given mean with a standard deviation of 1 are moments about that mean.
    template <unsigned Orders, class T>
    static void central(const slice<T>& s, const double* mean, const order_sums& out) {
        using f = functions<T>;
        for_each_column(s, [&](const T* x, std::size_t stride, std::size_t n, double weight, std::size_t d) {
            const double m = mean ? mean[d] : 0.0;
            const T* w = s.weights;
            if constexpr ((Orders & 1u << 2) != 0) {
                out.order[2][d] += w ? f::wtss_m(w, 1, x, stride, n, m) : f::tss_m(x, stride, n, m);
            }
            if constexpr ((Orders & 1u << 3) != 0) {
                out.order[3][d] +=
                    weight * (w ? f::wskew(w, 1, x, stride, n, m, 1) : f::skew(x, stride, n, m, 1));
            }
            if constexpr ((Orders & 1u << 4) != 0) {
                const double k = w ? f::wkurtosis(w, 1, x, stride, n, m, 1) : f::kurtosis(x, stride, n, m, 1);
                out.order[4][d] += weight * (k + 3);
            }
        });
    }

    template <unsigned Orders, class T>
    static void raw(const slice<T>& s, const order_sums& out) {
        sum(s, out.order[1]);
        central<Orders>(s, nullptr, out);
    }

    template <class T>
    static void extremes(const slice<T>& s, double* min, double* max) {
        for_each_column(s, [&](const T* x, std::size_t stride, std::size_t n, double, std::size_t d) {
            T low, high;
            functions<T>::minmax(&low, &high, x, stride, n);
            min[d] = std::min(min[d], static_cast<double>(low));
            max[d] = std::max(max[d], static_cast<double>(high));
        });
    }

    template <class T>
    static void weight_sums(const T* w, std::int64_t n, int threads, double& sum, double& squares) {
        plain_weight_sums(w, n, threads, sum, squares);
    }

private:
    template <class T, class Call>
    static void for_each_column(const slice<T>& s, Call&& call) {
        const auto dims = static_cast<std::size_t>(s.dims), n = static_cast<std::size_t>(s.rows);
        const double weight =
            s.weights ? functions<T>::mean(s.weights, 1, n) * static_cast<double>(n) : static_cast<double>(n);
        for (std::size_t d = 0; d < dims; ++d) {
            call(s.data + d, dims, n, weight, d);
        }
    }
};

// Every function is one pass: a block of the second-level cache is read from memory once for all orders.
using blocked = library<16384>;
using whole = library<(std::int64_t(1) << 40)>;

} // namespace

template <class T>
job gsl(estimate e, const matrix<T>& m, int threads, double* out) {
    return threaded_job<blocked>(e, m, threads, out);
}

template <class T>
job gsl_whole(estimate e, const matrix<T>& m, double* out) {
    return threaded_job<whole>(e, m, 1, out);
}

template job gsl(estimate, const matrix<float>&, int, double*);
template job gsl(estimate, const matrix<double>&, int, double*);
template job gsl_whole(estimate, const matrix<float>&, double*);
template job gsl_whole(estimate, const matrix<double>&, double*);

} // namespace peers
