#include "device/basic_launch.hpp"
#include "device/minmax_launch.hpp"

#include "records.hpp"
#include "reference.hpp"

#include "support/devices.hpp"

// Functors as offloaded tasks run them: under masks of 32-bit integers behind the type of 64-bit ones, with exactly as
// much memory as the mask has, with any of their arrays absent. Bit for bit.

namespace {

namespace gpu = aurelo::qtx::stats::detail::gpu;
using test::layout;

constexpr std::size_t n_dims = 5;

/// One dataset on one device; `run` returns what the functor over \p n arrays left in them.
template <typename T>
struct task {
    sycl::queue queue;
    test::host_dataset<T> data;
    std::vector<std::int32_t> mask;

    template <layout L, std::size_t n, typename Make>
    std::array<std::vector<T>, n> run(const Make& functor_of) {
        const test::usm_array<T> values(queue, data.template placed<L>());
        const test::usm_array<T> weights(queue, data.weights);
        const test::usm_array<T> mean(queue, data.mean);
        const test::usm_array<std::int32_t> words(queue, mask);
        const test::stats::dataset<L, T*> set(n_dims, static_cast<std::int64_t>(data.n_observations),
                                              values.get(), weights.get(),
                                              reinterpret_cast<std::int64_t*>(words.get()));
        return [&]<std::size_t... k>(std::index_sequence<k...>) {
            const std::vector<T> start(n_dims, test::untouched<T>);
            const std::array<test::usm_array<T>, n> out{((void)k, test::usm_array<T>(queue, start))...};
            submit(set, functor_of(out[k].get()...), mean.get()).wait();
            return std::array<std::vector<T>, n>{out[k].values()...};
        }
        (std::make_index_sequence<n>{});
    }

private:
    template <typename Set, typename Functor>
    sycl::event submit(const Set& set, const Functor& functor, T* mean) {
        if constexpr (requires { typename Functor::reductions; }) {
            return gpu::submit_minmax_usm<false>(queue, set, functor, {});
        } else if constexpr (Functor::user_mean) {
            return gpu::submit_basic_usm<false>(queue, set, functor, {}, mean);
        } else {
            return gpu::submit_basic_usm<false>(queue, set, functor, {});
        }
    }
};

template <typename T>
class task_functors : public testing::Test {
protected:
    /// Array k of `functor_of(arrays...)` holds element k of `expected(reference)`.
    template <std::size_t n, typename Make, typename Expected>
    void expect(const Make& functor_of, const Expected& expected, bool own_mean = false) {
        for (const auto& device : test::gpus()) {
            const std::size_t wg = test::limit_of(device);
            for (const std::size_t n_observations : {wg, wg + 1, 2 * wg + 1}) {
                for (const unsigned bits : {0u, 1u, 2u, 21u, 10u, 31u}) {
                    SCOPED_TRACE(testing::Message() << n_observations << " observations, group limit " << wg
                                                    << ", mask bits " << bits);
                    const test::recipe recipe{.n_dims = n_dims,
                                              .n_observations = n_observations,
                                              .weights = static_cast<test::weighting>(bits % 3),
                                              .integers = test::knows_integers_only(device),
                                              .own_mean = own_mean};
                    task<T> one{sycl::queue(device), test::make<T>(recipe), {}};
                    for (unsigned d = 0; d < n_dims; ++d) {
                        one.mask.push_back((bits >> d & 1u) != 0 ? -1 - static_cast<std::int32_t>(d) : 0);
                    }
                    expect_of(one, one.template run<layout::by_dimension, n>(functor_of), expected);
                    expect_of(one, one.template run<layout::by_observation, n>(functor_of), expected);
                }
            }
        }
    }

private:
    template <std::size_t n, typename Expected>
    void expect_of(const task<T>& one, const std::array<std::vector<T>, n>& got, const Expected& expected) {
        for (std::size_t d = 0; d < n_dims; ++d) {
            const std::array<T, n> wanted = expected(test::reference<T>(one.data, d));
            for (std::size_t k = 0; k < n; ++k) {
                SCOPED_TRACE(testing::Message() << "array " << k << ", dimension " << d);
                test::expect_bits(got[k][d], wanted[k], one.mask[d] != 0);
            }
        }
    }
};

using element_types = testing::Types<float, double>;
TYPED_TEST_SUITE(task_functors, element_types);

} // namespace

TYPED_TEST(task_functors, extremes_and_raw_sums) {
    using T = TypeParam;
    this->template expect<1>([](T* out) { return test::record_of<gpu::max_func_fast<T, true>>(out); },
                             [](const auto& r) { return std::array{r.high}; });
    this->template expect<4>(
        [](auto*... out) { return test::record_of<gpu::raw_sum_func_fast<T, true>>(out...); },
        [](const auto& r) {
            return std::array{r.s1, r.s2, r.s3, r.s4};
        });
    this->template expect<1>(
        [](T* out) {
            return test::record_of<gpu::raw_sum_func_fast<T, true>>(nullptr, out, nullptr, nullptr);
        },
        [](const auto& r) { return std::array{r.s2}; });
    this->template expect<1>(
        [](T* out) {
            return test::record_of<gpu::central_sum_func_user_mean<T, true>>(nullptr, nullptr, out);
        },
        [](const auto& r) { return std::array{r.c4}; }, true);
}

TYPED_TEST(task_functors, shapes_with_the_moments_below_them) {
    using T = TypeParam;
    this->template expect<3>(
        [](auto*... out) { return test::record_of<gpu::ex::variation_func_fast<T, true>>(out...); },
        [](const auto& r) {
            return std::array{r.m, r.raw_moment(2), r.variation()};
        });
    this->template expect<4>(
        [](auto*... out) { return test::record_of<gpu::ex::skewness_func_fast<T, true>>(out...); },
        [](const auto& r) {
            return std::array{r.m, r.raw_moment(2), r.raw_moment(3), r.skewness()};
        });
    this->template expect<5>(
        [](auto*... out) { return test::record_of<gpu::ex::kurtosis_func_fast<T, true>>(out...); },
        [](const auto& r) {
            return std::array{r.m, r.raw_moment(2), r.raw_moment(3), r.raw_moment(4), r.kurtosis()};
        });
}

TYPED_TEST(task_functors, central_sums_and_moments_with_the_raw_moments) {
    using T = TypeParam;
    this->template expect<7>(
        [](auto*... out) { return test::record_of<gpu::ex::central_sum_func_fast<T, true>>(out...); },
        [](const auto& r) {
            return std::array{r.m, r.raw_moment(2), r.raw_moment(3), r.raw_moment(4), r.c2, r.c3, r.c4};
        });
    this->template expect<7>(
        [](auto*... out) { return test::record_of<gpu::ex::central_moment_func_fast<T, true>>(out...); },
        [](const auto& r) {
            return std::array{r.m,          r.raw_moment(2), r.raw_moment(3), r.raw_moment(4),
                              r.variance(), r.c3 / r.w,      r.c4 / r.w};
        });
    // A task's arrays may be the same; the last store counts.
    this->template expect<3>(
        [](T* second, T* third, T* fourth) {
            return test::record_of<gpu::ex::central_sum_func_fast<T, true>>(nullptr, second, third, nullptr,
                                                                            second, third, fourth);
        },
        [](const auto& r) {
            return std::array{r.c2, r.raw_moment(3), r.c4};
        });
    // The fourth order alone stores the third raw moment, too.
    this->template expect<3>(
        [](T* raw3, T* raw4, T* out4) {
            return test::record_of<gpu::ex::central_moment_func_fast<T, true>>(nullptr, nullptr, raw3, raw4,
                                                                               nullptr, nullptr, out4);
        },
        [](const auto& r) {
            return std::array{r.raw_moment(3), r.raw_moment(4), r.c4 / r.w};
        });
}
