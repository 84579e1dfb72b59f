#include "support/catalogue.hpp"
#include "support/devices.hpp"
#include "support/errors.hpp"
#include "support/special_values.hpp"

#include <cmath>
#include <cstring>
#include <functional>

#include <pthread.h>

// Results on a CPU device, within the same bounds as those on GPUs, and what must not change them.

namespace {

namespace stats = aurelo::qtx::stats;
using stats::method;
using test::masking;
using test::weighting;

sycl::queue& cpu() {
    static sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    return queue;
}

/// Bitwise comparison: NaN equals NaN, 0 differs from -0.
bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t small_stack = 512 * 1024; // frames are larger
#else
constexpr std::size_t small_stack = 64 * 1024;
#endif

void run_on_small_stack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, small_stack), 0);
    pthread_t thread{};
    const auto entry = [](void* call) -> void* {
        (*static_cast<std::function<void()>*>(call))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, entry, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

} // namespace

TEST(cpu_results, lie_within_the_error_of_the_formulas) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        const test::recipe recipe{.n_dims = 1 + seed % 5,
                                  .n_observations = 20 + 137 * (seed % 7),
                                  .weights = static_cast<weighting>(seed % 3),
                                  .mask = static_cast<masking>(seed % 5),
                                  .own_mean = seed % 2 == 0,
                                  .seed = seed};
        SCOPED_TRACE(recipe.text());
        const auto data = test::make<double>(recipe);
        const auto oracles = test::oracles_of(data, 96);
        for (const auto& each : test::estimates<double>()) {
            for (const auto& how : test::arrangements) {
                SCOPED_TRACE(how.text());
                test::for_each_result(each, each.run(cpu(), how, data), data, oracles,
                                      [](auto... result) { EXPECT_TRUE(test::right(result...)); });
            }
        }
    }
}

TEST(cpu_results, reruns_and_methods_give_the_same_bits) {
    const auto standard = test::estimates<double, method::standard>();
    for (const std::size_t n : {5UL, 1000UL, 70'000UL}) {
        const auto data =
            test::make<double>({.n_dims = 3, .n_observations = n, .weights = weighting::positive, .seed = 3});
        for (std::size_t at = 0; at < standard.size(); ++at) {
            const auto fast = test::estimates<double>()[at];
            ASSERT_EQ(fast.name, standard[at].name);
            for (const auto& how : test::arrangements) {
                const auto first = fast.run(cpu(), how, data);
                const auto second = fast.run(cpu(), how, data);
                const auto other = standard[at].run(cpu(), how, data);
                for (std::size_t k = 0; k < first.size(); ++k) {
                    EXPECT_TRUE(same_bits(first[k], second[k]) && same_bits(first[k], other[k]))
                        << fast.name << ", output " << k << ", " << how.text() << ", n " << n;
                }
            }
        }
    }
}

// Queues, buffers and teams of threads are made, used and ended there as well. The shapes are of single blocks, short
// columns and several chunks.
TEST(small_stacks, are_enough_for_every_call) {
    for (const auto& device :
         {cpu().get_device(), test::gpu_with_limit(4), test::gpu_with_limit(test::large_limit)}) {
        sycl::queue queue(device);
        for (const auto& [n_dims, n] :
             {std::pair{2UL, 10UL}, {100, 10}, {8, 1000}, {3, 5000}, {2, 100'000}}) {
            if (n == 100'000 && !device.is_cpu()) {
                continue; // for the teams of a CPU
            }
            const auto weights = n == 10 || n == 5000 ? weighting::positive : weighting::none;
            const auto data = test::make<double>({.n_dims = n_dims, .n_observations = n, .weights = weights});
            for (const auto& each : test::estimates<double>()) {
                for (const auto& how : test::arrangements) {
                    const auto expected = each.run(queue, how, data);
                    test::outputs<double> got;
                    run_on_small_stack([&] {
                        sycl::queue own(device);
                        got = each.run(own, how, data);
                    });
                    EXPECT_EQ(got, expected) << each.name << ", " << n_dims << " x " << n;
                }
            }
        }
    }
}

// 2^61 doubles are 2^64 bytes, which wrap around to none.
TEST(counts, beyond_all_memory_are_refused_by_what_allocates_or_by_the_component) {
    const test::recorder errors;
    sycl::queue queue(cpu().get_device(), errors);
    double values[8] = {};
    sycl::buffer<double, 1> buffer{sycl::range<1>(8)};
    for (const int power : {46, 61, 62}) {
        SCOPED_TRACE("2^" + std::to_string(power) + " dimensions");
        const auto n_dims = std::int64_t{1} << power;
        const auto pointers = stats::make_dataset<test::layout::by_dimension>(n_dims, 1025, values);
        const auto buffers = stats::make_dataset<test::layout::by_dimension>(n_dims, 1025, buffer);
        EXPECT_THROW(stats::kurtosis(queue, pointers, values), aurelo::qtx::device_bad_alloc);
        EXPECT_THROW(stats::central_sum(queue, pointers, values, values, values),
                     aurelo::qtx::device_bad_alloc);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which end the program
        EXPECT_THROW(stats::kurtosis(queue, buffers, buffer), sycl::exception);
        EXPECT_THROW(stats::central_sum(queue, buffers, buffer, buffer, buffer), sycl::exception);
#endif
        errors.messages->clear();
        stats::max(queue, pointers, values).wait_and_throw();
        EXPECT_EQ(*errors.messages, std::vector<std::string>{"aurelo::qtx::stats: computation error"});
    }
}

TEST(cpu_results, of_special_values) {
    test::expect_special_values(cpu());
}
