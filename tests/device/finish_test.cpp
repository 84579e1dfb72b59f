#include "device/basic_submit.hpp"
#include "device/estimates/central_funcs.hpp"
#include "device/estimates/extended_funcs.hpp"
#include "device/estimates/mean_func.hpp"
#include "device/estimates/raw_funcs.hpp"
#include "device/estimates/shape_funcs.hpp"

#include "support/devices.hpp"
#include "support/run.hpp"

#include <bit>
#include <cmath>
#include <random>

// Functors on given totals, against formulas written out here in the promised order, bit for bit.

namespace {

namespace gpu = aurelo::qtx::stats::detail::gpu;

constexpr std::size_t n_dims = 40;

template <typename T>
using bits_of = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

template <typename T>
bool same_bits(T a, T b) {
    return std::bit_cast<bits_of<T>>(a) == std::bit_cast<bits_of<T>>(b) || (std::isnan(a) && std::isnan(b));
}

template <typename T>
T mad(T a, T b, T c) {
    const T product = a * b;
    return product + c;
}

/// Totals of one dimension, and what follows from them.
template <typename T>
struct reference {
    T s1, s2, s3, s4, w, w2;

    T m() const { return s1 / w; }
    T p() const { return w * m(); }
    T c2() const { return mad(p(), m(), mad(m() * -2, s1, s2)); }
    T c3() const {
        const T t = m() * 3;
        return mad(m() * -p(), m(), mad(t * m(), s1, mad(-t, s2, s3)));
    }
    T c4() const {
        const T q = m() * -4;
        return mad((p() * m()) * m(), m(),
                   mad((m() * q) * m(), s1, mad((s2 * 6) * m(), m(), mad(q, s3, s4))));
    }
    T f() const { return w / mad(w, w, -w2); }
    T variation(T c, T mean) const { return std::sqrt(c * f()) / mean; }
    T skewness(T c, T third) const {
        const T v = c * f();
        return (third / w) / std::sqrt((v * v) * v);
    }
    T kurtosis(T c, T fourth) const {
        const T v = c * f();
        return ((fourth / w) / (v * v)) + -3;
    }
};

template <typename Functor>
struct finish_kernel {
    using element_type = typename Functor::element_type;

    gpu::functor_tmp<Functor> tmp;
    Functor functor;

    void operator()(sycl::nd_item<1>) const {
        for (std::size_t d = 0; d < n_dims; ++d) {
            functor(tmp, d);
        }
    }
};

/// Random totals, the way they lie in scratch after the last pass.
template <typename T>
class given_totals {
public:
    explicit given_totals(bool weighted) : weighted_(weighted) {
        std::mt19937 random(11);
        const auto draw = [&](T low, T high) { return std::uniform_real_distribution<T>(low, high)(random); };
        const T w = weighted ? draw(3, 20) : T(17);
        const T w2 = weighted ? draw(1, w * w / 2) : T(17);
        for (std::size_t d = 0; d < n_dims; ++d) {
            totals_.push_back({draw(-20, 20), draw(10, 90), draw(-99, 99), draw(50, 999), w, w2});
            means_.push_back(draw(-2, 2));
        }
    }

    const reference<T>& operator[](std::size_t d) const { return totals_[d]; }
    T mean(std::size_t d) const { return means_[d]; }

    /// Runs the finish of \p functor; its blocks hold S1, S2, ... or, about a mean, S2, S3, S4 as C2, C3, C4.
    template <typename Functor>
    void finish(sycl::queue& queue, Functor functor) {
        const auto orders = gpu::orders_of(functor);
        std::vector<T> blocks;
        const auto add_block = [&](T reference<T>::*total) {
            for (const auto& each : totals_) {
                blocks.push_back(each.*total);
            }
        };
        add_block(Functor::user_mean ? &reference<T>::s2 : &reference<T>::s1);
        if (orders.order2) {
            add_block(&reference<T>::s2);
        }
        if (orders.order3) {
            add_block(&reference<T>::s3);
        }
        if (orders.order4) {
            add_block(&reference<T>::s4);
        }
        auto sums = test::to_buffer(blocks);
        auto weights = test::to_buffer(std::vector<T>{totals_.front().w});
        auto squares = test::to_buffer(std::vector<T>{totals_.front().w2});
        const test::usm_array<T> mean(queue, means_);
        const auto tmp = [&] {
            if constexpr (Functor::user_mean) {
                return gpu::functor_tmp<Functor>(sums, weights, squares, mean.get(), orders.order3,
                                                 orders.order4, weighted_, n_dims, 17);
            } else {
                return gpu::functor_tmp<Functor>(sums, weights, squares, orders.order2, orders.order3,
                                                 orders.order4, weighted_, n_dims, 17);
            }
        }();
        queue
            .submit([&](sycl::handler& handler) {
                tmp.set_requirements(handler);
                gpu::launch(handler, finish_kernel<Functor>{tmp, functor}, 1, 1);
            })
            .wait();
    }

private:
    bool weighted_;
    std::vector<reference<T>> totals_;
    std::vector<T> means_;
};

template <typename T>
class finish : public testing::Test {
protected:
    using outputs = std::vector<T>;

    /// `functor_of(out...)` finished on random totals stores `expected(reference, mean)` in output k, for
    /// each k.
    template <std::size_t n, typename Make, typename Expected>
    void expect(const Make& functor_of, const Expected& expected) {
        for (const bool weighted : {false, true}) {
            given_totals<T> totals(weighted);
            std::array<std::vector<T>, n> got = run<n>(totals, functor_of);
            for (std::size_t d = 0; d < n_dims; ++d) {
                const std::array<T, n> wanted = expected(totals[d], totals.mean(d));
                for (std::size_t k = 0; k < n; ++k) {
                    EXPECT_TRUE(same_bits(got[k][d], wanted[k]))
                        << "weighted " << weighted << ", output " << k << ", dimension " << d << ": "
                        << got[k][d] << " is not " << wanted[k];
                }
            }
        }
    }

    template <std::size_t n, typename Make>
    std::array<std::vector<T>, n> run(given_totals<T>& totals, const Make& functor_of) {
        return [&]<std::size_t... k>(std::index_sequence<k...>) {
            const std::vector<T> start(n_dims, test::untouched<T>);
            const std::array<test::usm_array<T>, n> out{((void)k, test::usm_array<T>(queue_, start))...};
            totals.finish(queue_, functor_of(out[k].get()...));
            return std::array<std::vector<T>, n>{out[k].values()...};
        }
        (std::make_index_sequence<n>{});
    }

    sycl::queue queue_{test::gpus().front()};
};

using element_types = testing::Types<float, double>;
TYPED_TEST_SUITE(finish, element_types);

} // namespace

TYPED_TEST(finish, mean_and_raw) {
    using T = TypeParam;
    this->template expect<1>([](T* out) { return gpu::mean_func<T, true>(out); },
                             [](const auto& r, T) { return std::array{r.s1 / r.w}; });
    this->template expect<4>([](auto*... out) { return gpu::raw_sum_func_fast<T, true>(out...); },
                             [](const auto& r, T) {
                                 return std::array{r.s1, r.s2, r.s3, r.s4};
                             });
    this->template expect<4>([](auto*... out) { return gpu::raw_moment_func_fast<T, true>(out...); },
                             [](const auto& r, T) {
                                 return std::array{r.s1 / r.w, r.s2 / r.w, r.s3 / r.w, r.s4 / r.w};
                             });
}

TYPED_TEST(finish, central_by_expansion) {
    using T = TypeParam;
    this->template expect<3>([](auto*... out) { return gpu::central_sum_func_fast<T, true>(out...); },
                             [](const auto& r, T) {
                                 return std::array{r.c2(), r.c3(), r.c4()};
                             });
    this->template expect<3>([](auto*... out) { return gpu::central_moment_func_fast<T, true>(out...); },
                             [](const auto& r, T) {
                                 return std::array<T, 3>{r.c2() * r.f(), r.c3() / r.w, r.c4() / r.w};
                             });
}

TYPED_TEST(finish, central_about_a_mean) {
    using T = TypeParam;
    this->template expect<3>([](auto*... out) { return gpu::central_sum_func_user_mean<T, true>(out...); },
                             [](const auto& r, T) {
                                 return std::array{r.s2, r.s3, r.s4};
                             });
    this->template expect<3>([](auto*... out) { return gpu::central_moment_func_user_mean<T, true>(out...); },
                             [](const auto& r, T) {
                                 return std::array<T, 3>{r.s2 * r.f(), r.s3 / r.w, r.s4 / r.w};
                             });
}

TYPED_TEST(finish, shapes) {
    using T = TypeParam;
    this->template expect<1>([](T* out) { return gpu::variation_func_fast<T, true>(out); },
                             [](const auto& r, T) { return std::array{r.variation(r.c2(), r.m())}; });
    this->template expect<1>([](T* out) { return gpu::skewness_func_fast<T, true>(out); },
                             [](const auto& r, T) { return std::array{r.skewness(r.c2(), r.c3())}; });
    this->template expect<1>([](T* out) { return gpu::kurtosis_func_fast<T, true>(out); },
                             [](const auto& r, T) { return std::array{r.kurtosis(r.c2(), r.c4())}; });
    this->template expect<1>([](T* out) { return gpu::variation_func_user_mean<T, true>(out); },
                             [](const auto& r, T mean) { return std::array{r.variation(r.s2, mean)}; });
    this->template expect<1>([](T* out) { return gpu::skewness_func_user_mean<T, true>(out); },
                             [](const auto& r, T) { return std::array{r.skewness(r.s2, r.s3)}; });
    this->template expect<1>([](T* out) { return gpu::kurtosis_func_user_mean<T, true>(out); },
                             [](const auto& r, T) { return std::array{r.kurtosis(r.s2, r.s4)}; });
}

TYPED_TEST(finish, extended_shapes_store_the_bits_of_their_twins) {
    using T = TypeParam;
    this->template expect<3>(
        [](T* mean, T* raw2, T* out) {
            return gpu::ex::variation_func_fast<T, true>{mean, raw2, out};
        },
        [](const auto& r, T) {
            return std::array{r.m(), r.s2 / r.w, r.variation(r.c2(), r.m())};
        });
    this->template expect<4>(
        [](auto*... arrays) {
            return gpu::ex::skewness_func_fast<T, true>{{}, arrays...};
        },
        [](const auto& r, T) {
            return std::array{r.m(), r.s2 / r.w, r.s3 / r.w, r.skewness(r.c2(), r.c3())};
        });
    this->template expect<5>(
        [](auto*... arrays) {
            return gpu::ex::kurtosis_func_fast<T, true>{{}, arrays...};
        },
        [](const auto& r, T) {
            return std::array{r.m(), r.s2 / r.w, r.s3 / r.w, r.s4 / r.w, r.kurtosis(r.c2(), r.c4())};
        });
}

TYPED_TEST(finish, extended_central_functors_store_the_bits_of_their_twins) {
    using T = TypeParam;
    this->template expect<7>(
        [](auto*... arrays) { return gpu::ex::central_sum_func_fast<T, true>(arrays...); },
        [](const auto& r, T) {
            return std::array{r.m(), r.s2 / r.w, r.s3 / r.w, r.s4 / r.w, r.c2(), r.c3(), r.c4()};
        });
    this->template expect<7>(
        [](auto*... arrays) { return gpu::ex::central_moment_func_fast<T, true>(arrays...); },
        [](const auto& r, T) {
            return std::array<T, 7>{r.m(),          r.s2 / r.w,   r.s3 / r.w,  r.s4 / r.w,
                                    r.c2() * r.f(), r.c3() / r.w, r.c4() / r.w};
        });
}

TYPED_TEST(finish, extended_fourth_order_alone_stores_the_third_raw_moment_and_skips_null_arrays) {
    using T = TypeParam;
    this->template expect<3>(
        [](T* raw3, T* raw4, T* out4) {
            return gpu::ex::central_moment_func_fast<T, true>(nullptr, nullptr, raw3, raw4, nullptr, nullptr,
                                                              out4);
        },
        [](const auto& r, T) {
            return std::array<T, 3>{r.s3 / r.w, r.s4 / r.w, r.c4() / r.w};
        });
}

TYPED_TEST(finish, absent_first_output_of_a_task_is_skipped) {
    using T = TypeParam;
    this->template expect<1>(
        [](T* out2) { return gpu::raw_sum_func_fast<T, true>(nullptr, out2, nullptr, nullptr); },
        [](const auto& r, T) { return std::array{r.s2}; });
    this->template expect<1>(
        [](T* out4) { return gpu::central_sum_func_user_mean<T, true>(nullptr, nullptr, out4); },
        [](const auto& r, T) { return std::array{r.s4}; });
}
