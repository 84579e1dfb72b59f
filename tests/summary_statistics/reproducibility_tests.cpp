// What must not change a bit: threads, reruns, addresses, the method code, the order of dimensions, a power
// of two, the floating-point environment of the caller.
#include "fixture.hpp"

#include <cfenv>
#include <cmath>
#include <omp.h>
#include <random>
#include <sys/mman.h>
#include <thread>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace {

using namespace fixture;

template <class T>
class reproducibility : public ::testing::Test {
public:
    static matrix<T> sample(std::int64_t dims, std::int64_t observations, std::int64_t storage,
                            bool weighted) {
        std::mt19937_64 random(11);
        std::normal_distribution<double> normal;
        matrix<T> m{dims, observations, storage, {}, {}, {}};
        for (std::int64_t i = 0; i < dims * observations; ++i) {
            m.data.push_back(static_cast<T>(3 + normal(random)));
        }
        for (std::int64_t i = 0; weighted && i < observations; ++i) {
            m.weights.push_back(static_cast<T>(1 + random() % 3));
        }
        return m;
    }

    static void expect_same(const results<T>& a, const results<T>& b, const char* what) {
        for (int k = 0; k < oracle::n_results; ++k) {
            EXPECT_TRUE(a.same_bits(b, k)) << oracle::names[static_cast<std::size_t>(k)] << ": " << what;
        }
    }
};
using element_types = ::testing::Types<double, float>;
TYPED_TEST_SUITE(reproducibility, element_types);

TYPED_TEST(reproducibility, threads_reruns_and_method_codes_change_nothing) {
    const std::int64_t shapes[][2] = {{1, 400003}, {3, 100001}, {8, 50000}, {700, 601}};
    const int before = omp_get_max_threads();
    for (const auto& s : shapes) {
        for (const std::int64_t storage : {TSB_SS_STORAGE_BY_DIMENSION, TSB_SS_STORAGE_BY_OBSERVATION}) {
            for (const bool weighted : {false, true}) {
                SCOPED_TRACE(::testing::Message() << s[0] << " x " << s[1] << " storage " << storage
                                                  << (weighted ? " weighted" : ""));
                const matrix<TypeParam> m = this->sample(s[0], s[1], storage, weighted);
                omp_set_num_threads(1);
                const auto one = run(m, every_estimate);
                for (const int threads : {2, 3}) {
                    omp_set_num_threads(threads);
                    this->expect_same(one, run(m, every_estimate), "threads");
                }
                this->expect_same(one, run(m, every_estimate, TSB_SS_METHOD_STANDARD), "method 2");
            }
        }
    }
    omp_set_num_threads(before);
}

TYPED_TEST(reproducibility, the_address_of_the_data_changes_nothing) {
    for (const std::int64_t storage : {TSB_SS_STORAGE_BY_DIMENSION, TSB_SS_STORAGE_BY_OBSERVATION}) {
        const matrix<TypeParam> m = this->sample(3, 4001, storage, true);
        const auto expected = run(m, every_estimate);
        for (std::int64_t offset = 1; offset < 8; ++offset) {
            std::vector<TypeParam> moved(static_cast<std::size_t>(offset));
            moved.insert(moved.end(), m.data.begin(), m.data.end());
            const auto got =
                run<TypeParam>(m, TSB_SS_EST_KURTOSIS, TSB_SS_METHOD_FAST, nullptr, moved.data() + offset);
            EXPECT_TRUE(got.same_bits(expected, 14)) << "offset " << offset;
        }
    }
}

TYPED_TEST(reproducibility, a_scale_of_two_scales_every_result_exactly) {
    matrix<TypeParam> m = this->sample(3, 5003, TSB_SS_STORAGE_BY_OBSERVATION, false);
    const auto plain = run(m, every_estimate);
    for (TypeParam& x : m.data) {
        x *= 2;
    }
    const auto doubled = run(m, every_estimate);
    const int orders[oracle::n_results] = {1, 2, 3, 4, 2, 3, 4, 1, 2, 3, 4, 2, 3, 4, 0, 0, 0, 1, 1};
    for (int k = 0; k < oracle::n_results; ++k) {
        EXPECT_EQ(doubled(k, 2), std::ldexp(plain(k, 2), orders[k]))
            << oracle::names[static_cast<std::size_t>(k)];
    }
}

TYPED_TEST(reproducibility, columns_may_change_places) {
    for (const std::int64_t storage : {TSB_SS_STORAGE_BY_DIMENSION, TSB_SS_STORAGE_BY_OBSERVATION}) {
        const std::int64_t dims = 8, n = 3001;
        const matrix<TypeParam> m = this->sample(dims, n, storage, true);
        matrix<TypeParam> turned = m;
        for (std::int64_t d = 0; d < dims; ++d) {
            for (std::int64_t i = 0; i < n; ++i) {
                turned.at((d + 3) % dims, i) = m.data[m.index(d, i)];
            }
        }
        const auto a = run(m, every_estimate);
        const auto b = run(turned, every_estimate);
        for (int k = 0; k < oracle::n_results; ++k) {
            for (std::int64_t d = 0; d < dims; ++d) {
                EXPECT_EQ(a(k, d), b(k, (d + 3) % dims)) << oracle::names[static_cast<std::size_t>(k)];
            }
        }
    }
}

/// What a thread may have set: rounding, traps, and where there is one the flushing of denormal numbers.
struct float_environment {
    int rounding;
    int traps;
    bool flushes;

    void set() const {
        std::fesetround(rounding);
        feenableexcept(traps);
#if defined(__SSE__)
        _mm_setcsr(_mm_getcsr() | (flushes ? 0x8040U : 0U)); // FTZ and DAZ
#endif
    }
};

/// The whole environment in words that can be compared.
std::vector<unsigned> environment_words() {
    std::vector<unsigned> words{static_cast<unsigned>(std::fegetround()),
                                static_cast<unsigned>(fegetexcept()),
                                static_cast<unsigned>(std::fetestexcept(FE_ALL_EXCEPT))};
#if defined(__SSE__)
    words.push_back(_mm_getcsr());
#endif
    return words;
}

// Some elements are denormal numbers, some sums are infinite and some powers inexact: each environment would show.
TYPED_TEST(reproducibility, the_floating_point_environment_of_the_caller_changes_nothing_and_is_kept) {
    const float_environment environments[] = {
        {FE_UPWARD, 0, false},
        {FE_DOWNWARD, 0, false},
        {FE_TOWARDZERO, 0, true},
        {FE_TONEAREST, 0, true},
        {FE_TONEAREST, FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW, false},
    };
    const std::int64_t dims = 3, n = 100001;
    matrix<TypeParam> m = this->sample(dims, n, TSB_SS_STORAGE_BY_OBSERVATION, true);
    for (std::int64_t i = 0; i < n; ++i) {
        m.at(1, i) = static_cast<TypeParam>(i % 5) * std::numeric_limits<TypeParam>::denorm_min();
    }
    m.at(2, 7) = std::numeric_limits<TypeParam>::infinity();
    m.weights[5] = std::numeric_limits<TypeParam>::denorm_min();
    for (const int threads : {1, 2}) {
        const auto in_thread = [&](const float_environment& environment) {
            results<TypeParam> got(dims);
            std::thread([&] {
                omp_set_num_threads(threads);
#pragma omp parallel
                environment.set();
                const auto before = environment_words();
                got = run(m, every_estimate);
                const auto after = environment_words();
                EXPECT_EQ(before, after);
                fedisableexcept(FE_ALL_EXCEPT);
            }).join();
            return got;
        };
        const auto expected = in_thread({FE_TONEAREST, 0, false});
        EXPECT_GT(expected(0, 1), 0) << "no denormal number was seen";
        for (const auto& environment : environments) {
            SCOPED_TRACE(testing::Message()
                         << "rounding " << environment.rounding << ", traps " << environment.traps
                         << ", flushing " << environment.flushes << ", " << threads << " threads");
            this->expect_same(expected, in_thread(environment), "environment");
        }
    }
}

/// The masked column lies where nothing may be read.
TYPED_TEST(reproducibility, masked_columns_are_not_read) {
    const std::size_t page = 4096;
    void* const memory = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    ASSERT_EQ(mprotect(static_cast<char*>(memory) + page, page, PROT_NONE), 0);
    auto* const data = static_cast<TypeParam*>(memory);
    const std::int64_t n = 256, read = static_cast<std::int64_t>(page / sizeof(TypeParam)) / n,
                       dims = read + 1;
    for (std::int64_t i = 0; i < read * n; ++i) {
        data[i] = static_cast<TypeParam>(i % n);
    }
    std::vector<std::int64_t> mask(static_cast<std::size_t>(dims), 1);
    mask.back() = 0;
    std::vector<TypeParam> mean(static_cast<std::size_t>(dims), -1);
    const std::int64_t storage = TSB_SS_STORAGE_BY_DIMENSION;
    void* task = nullptr;
    ASSERT_EQ(api<TypeParam>::make(&task, &dims, &n, &storage, data, nullptr, mask.data()), TSB_SS_OK);
    api<TypeParam>::edit(task, TSB_SS_PARAM_MEAN, mean.data());
    EXPECT_EQ(api<TypeParam>::compute(task, TSB_SS_EST_MEAN, TSB_SS_METHOD_FAST), TSB_SS_OK);
    tsbSSDeleteTask(&task);
    for (std::int64_t d = 0; d < dims; ++d) {
        EXPECT_EQ(mean[static_cast<std::size_t>(d)], d < read ? TypeParam(127.5) : TypeParam(-1));
    }
    munmap(memory, 2 * page);
}

// More elements than 32 bits count, in memory that exists only where it is touched: a mask leaves out the
// rest.
void check_last_dimension(std::int64_t dims, std::int64_t n, std::int64_t storage) {
    ASSERT_GT(dims * n, std::int64_t{1} << 31);
    const std::size_t bytes = static_cast<std::size_t>(dims * n) * sizeof(float);
    void* memory =
        ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        GTEST_SKIP() << "no address space for " << bytes << " bytes";
    }
    auto* data = static_cast<float*>(memory);
    data[dims * n - 1] = 8;
    data[storage == TSB_SS_STORAGE_BY_DIMENSION ? (dims - 1) * n : dims - 1] = -2;
    std::vector<std::int64_t> mask(static_cast<std::size_t>(dims));
    mask.back() = 1;
    std::vector<float> sum(mask.size()), low(mask.size());
    void* task = nullptr;
    ASSERT_EQ(tsbsSSNewTask_64(&task, &dims, &n, &storage, data, nullptr, mask.data()), TSB_SS_OK);
    tsbsSSEditTask(task, TSB_SS_PARAM_SUM, sum.data());
    tsbsSSEditTask(task, TSB_SS_PARAM_MIN, low.data());
    EXPECT_EQ(tsbsSSCompute(task, TSB_SS_EST_SUM | TSB_SS_EST_MIN, TSB_SS_METHOD_FAST), TSB_SS_OK);
    EXPECT_EQ(tsbSSDeleteTask(&task), TSB_SS_OK);
    EXPECT_EQ(sum.back(), 6);
    EXPECT_EQ(low.back(), -2);
    ::munmap(memory, bytes);
}

TEST(large_matrix, indices_beyond_2_to_the_31) {
    check_last_dimension(2200000, 1000, TSB_SS_STORAGE_BY_DIMENSION);
    check_last_dimension(1100000, 2000, TSB_SS_STORAGE_BY_OBSERVATION);
}

} // namespace
