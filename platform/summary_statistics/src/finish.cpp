// From complete totals to estimates, in the order of operations that the documentation of the interface
// gives.
#include "finish.hpp"

#include <cmath>

namespace tsb {

namespace {

/// The high part alone where it is no finite number: its low part means nothing then.
double joined(const totals& t, int high, int low, std::int64_t i) {
    const double h = t[high][i];
    return std::isfinite(h) ? h + t[low][i] : h;
}

/// \brief The statistics of one dimension as plain numbers.
struct dimension_totals {
    double weight, factor, mean;
    double raw[4];
    double central[5]; ///< by order; 2 to 4 are used

    dimension_totals(const problem& p, const totals& t, std::int64_t dim, std::int64_t i) : weight(t.w()) {
        factor = weight / (weight * weight - t.w2());
        for (int k = 0; k < 4; ++k) {
            raw[k] = k < p.wanted.raw ? joined(t, totals::sum_high + k, totals::sum_low + k, i) : 0;
        }
        for (int k = 2; k <= 4; ++k) {
            central[k] = p.wanted.about ? joined(t, totals::sum_high + k - 1, totals::sum_low + k - 1, i)
                                        : t[totals::central2 + k - 2][i];
        }
        mean = p.wanted.about ? user_mean(p, dim) : joined(t, totals::mean_high, totals::mean_low, i);
    }

    static double user_mean(const problem& p, std::int64_t dim) {
        return p.is_float ? static_cast<double>(static_cast<const float*>(p.user_mean)[dim])
                          : static_cast<const double*>(p.user_mean)[dim];
    }

    double variance() const { return central[2] * factor; }
    double variation() const { return std::sqrt(variance()) / mean; }
    double skewness() const {
        const double v = variance();
        return (central[3] / weight) / std::sqrt((v * v) * v);
    }
    double kurtosis() const {
        const double v = variance();
        return ((central[4] / weight) / (v * v)) + -3.0;
    }
};

template <class T>
class result_writer {
public:
    result_writer(const problem& p, std::int64_t dim) : p_(p), dim_(dim) {}

    template <class Value>
    void operator()(result r, Value value) const {
        if (void* out = p_.outputs[static_cast<std::size_t>(r)]) {
            static_cast<T*>(out)[dim_] = static_cast<T>(value());
        }
    }

private:
    const problem& p_;
    std::int64_t dim_;
};

template <class T>
void write(const problem& p, const totals& t, std::int64_t dim, std::int64_t i) {
    const result_writer<T> put(p, dim);
    if (p.wanted.extremes) {
        put(result::minimum, [&] { return t[totals::lowest][i]; });
        put(result::maximum, [&] { return t[totals::highest][i]; });
    }
    if (!p.wanted.central && !p.wanted.raw) {
        return;
    }
    const dimension_totals v(p, t, dim, i);
    put(result::mean, [&] { return v.mean; });
    put(result::raw2, [&] { return v.raw[1] / v.weight; });
    put(result::raw3, [&] { return v.raw[2] / v.weight; });
    put(result::raw4, [&] { return v.raw[3] / v.weight; });
    put(result::central2, [&] { return v.variance(); });
    put(result::central3, [&] { return v.central[3] / v.weight; });
    put(result::central4, [&] { return v.central[4] / v.weight; });
    put(result::sum, [&] { return v.raw[0]; });
    put(result::raw_sum2, [&] { return v.raw[1]; });
    put(result::raw_sum3, [&] { return v.raw[2]; });
    put(result::raw_sum4, [&] { return v.raw[3]; });
    put(result::central_sum2, [&] { return v.central[2]; });
    put(result::central_sum3, [&] { return v.central[3]; });
    put(result::central_sum4, [&] { return v.central[4]; });
    put(result::variation, [&] { return v.variation(); });
    put(result::skewness, [&] { return v.skewness(); });
    put(result::kurtosis, [&] { return v.kurtosis(); });
}

} // namespace

void finish(const problem& p, const panel& where, const totals& t) {
    for (std::int64_t i = 0; i < where.width; ++i) {
        const std::int64_t dim = where.first_dim + i;
        if (!p.mask.includes(dim)) {
            continue;
        }
        if (p.is_float) {
            write<float>(p, t, dim, i);
        } else {
            write<double>(p, t, dim, i);
        }
    }
}

} // namespace tsb
