#include "reference.hpp"

#include "support/catalogue.hpp"
#include "support/devices.hpp"
#include "support/estimates.hpp"

#include <gmock/gmock.h>

// Every result is compared bit for bit: of real numbers on groups of two, elsewhere of integers of small size, whose sums are
// exact in any order of addition.

namespace {

using test::masking;
using test::weighting;

/// Every estimate, with and without the caller's mean.
template <typename T>
void expect_exact(sycl::queue& queue, test::recipe recipe) {
    recipe.integers = test::knows_integers_only(queue.get_device());
    for (const bool own_mean : {false, true}) {
        recipe.own_mean = own_mean;
        const auto data = test::make<T>(recipe);
        const auto references = test::references_of(data);
        for (const auto& how : test::arrangements) {
            SCOPED_TRACE(recipe.text() + ", " + how.text());
            for (const auto& each : test::estimates<T, test::stats::method::fast, test::reference<T>>()) {
                test::for_each_result(each, each.run(queue, how, data), data, references,
                                      test::expect_bits<T>);
            }
        }
    }
}

/// The outputs of \p call that are present, as the reference has them from \p first_order on; the others stay absent.
template <std::size_t n, typename Call>
void expect_present(sycl::queue& queue, test::recipe recipe, const std::array<bool, n>& present,
                    const Call& call, double (test::reference<double>::*expected)(int) const,
                    int first_order) {
    recipe.integers = test::knows_integers_only(queue.get_device());
    const auto data = test::make<double>(recipe);
    const auto references = test::references_of(data);
    for (const auto& how : test::arrangements) {
        const auto got = test::run<double, n>(queue, how, data, present, call);
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t d = 0; d < (present[k] ? data.n_dims : 0); ++d) {
                SCOPED_TRACE(recipe.text() + ", " + how.text() + ", output " + std::to_string(k) + " of " +
                             testing::PrintToString(present));
                test::expect_bits(got[k][d], (references[d].*expected)(static_cast<int>(k) + first_order),
                                  true);
            }
        }
    }
}

/// Row counts on the edges of plans: single steps, tails, full groups, intermediate passes, five passes deep.
std::vector<std::size_t> plans(std::size_t wg) {
    std::vector<std::size_t> counts{1, wg - 1, wg, wg + 1, 2 * wg, 2 * wg + wg / 2};
    if (wg <= 96) {
        counts.insert(counts.end(), {wg * wg, wg * wg + 1});
    }
    if (wg <= 4) {
        counts.insert(counts.end(),
                      {wg * wg * wg * wg + wg * wg + 1, wg * wg * wg * wg * wg, wg * wg * wg * wg * wg + 1});
    }
    return counts;
}

} // namespace

class totals : public test::on_every_gpu {};
ON_EVERY_GPU(totals);

TEST_P(totals, exact_in_every_plan) {
    unsigned seed = 1;
    for (const std::size_t n : plans(wg())) {
        const std::size_t n_dims = n > 2000 ? 1 : 3;
        expect_exact<float>(queue, {.n_dims = n_dims, .n_observations = n, .seed = ++seed});
        expect_exact<double>(
            queue, {.n_dims = n_dims, .n_observations = n, .weights = weighting::positive, .seed = ++seed});
    }
}

TEST_P(totals, exact_under_every_mask_with_odd_weights) {
    for (const auto mask : {masking::first_out, masking::alternate, masking::all_out, masking::all_in}) {
        for (const std::size_t n : {wg() - 1, 3 * wg() + 1, 4 * wg()}) {
            const test::recipe recipe{
                .n_dims = 5, .n_observations = n, .weights = weighting::odd, .mask = mask, .seed = 5};
            expect_exact<double>(queue, recipe);
            expect_exact<float>(queue, recipe);
        }
    }
}

TEST_P(totals, exact_for_many_dimensions) {
    const std::size_t n = std::min<std::size_t>(2 * wg() + 1, 193);
    expect_exact<double>(queue, {.n_dims = 64, .n_observations = n, .weights = weighting::positive});
    expect_exact<float>(queue, {.n_dims = 1000, .n_observations = n});
}

TEST_P(totals, all_combinations_of_optional_outputs) {
    using reference = test::reference<double>;
    for (unsigned bits = 0; bits < 8; ++bits) {
        const bool b2 = (bits & 1) != 0;
        const bool b3 = (bits & 2) != 0;
        const bool b4 = (bits & 4) != 0;
        for (const auto weights : {weighting::none, weighting::positive}) {
            test::recipe recipe{.n_dims = 2, .n_observations = 2 * wg() + 1, .weights = weights};
            expect_present<4>(queue, recipe, {true, b2, b3, b4}, test::call::raw_sum, &reference::raw_sum, 1);
            expect_present<3>(queue, recipe, {true, b3, b4}, test::call::central_moment,
                              &reference::central_moment, 2);
            recipe.own_mean = true;
            expect_present<3>(queue, recipe, {true, b3, b4}, test::call::central_sum, &reference::central_sum,
                              2);
        }
    }
}

TEST(totals_of_large_groups, three_passes) {
    sycl::queue queue(test::gpu_with_limit(test::large_limit));
    expect_present<4>(queue, {.n_dims = 1, .n_observations = test::large_limit * test::large_limit + 3},
                      {true, true, true, true}, test::call::raw_sum, &test::reference<double>::raw_sum, 1);
}

/// The words of the refusal, if \p work on a queue is refused: at the submission, or by way of the handler if nothing says
/// beforehand what a kernel reduces.
template <typename Work>
std::string refusal(const sycl::device& device, const Work& work) {
    std::string text;
    const auto keep = [&](const sycl::exception_list& errors) {
        for (const auto& each : errors) {
            try {
                std::rethrow_exception(each);
            } catch (const std::exception& error) {
                text = error.what();
            }
        }
    };
    try {
        sycl::queue queue(device, keep);
        work(queue);
        queue.wait_and_throw();
    } catch (const std::exception& error) {
        text = error.what();
    }
    return text;
}

sycl::device gpu_with_local_memory(std::size_t limit, std::size_t bytes) {
    auto desc = test::default_desc();
    desc.max_work_group_size = limit;
    desc.local_memory_bytes = bytes;
    return test::add_device(desc);
}

// Six blocks of totals, and two values of each work-item for its reductions.
TEST(local_memory, of_a_weighted_kurtosis_is_six_blocks_and_no_more) {
    const auto enough = gpu_with_local_memory(8, (6 + 2) * 8 * sizeof(double));
    const auto fewer = gpu_with_local_memory(8, (5 + 2) * 8 * sizeof(double));
    const auto about_mean = test::make<double>(
        {.n_dims = 2, .n_observations = 70, .weights = weighting::positive, .own_mean = true});
    auto computed = about_mean;
    computed.mean.clear();
    const auto kurtosis = [](const test::host_dataset<double>& data) {
        return [&](sycl::queue& queue) {
            test::run<double, 1>(queue, test::arrangements.front(), data, {true}, test::call::kurtosis);
        };
    };
    EXPECT_EQ(refusal(enough, kurtosis(computed)), "");
    EXPECT_EQ(refusal(fewer, kurtosis(about_mean)), "");
    EXPECT_THAT(refusal(fewer, kurtosis(computed)), testing::HasSubstr("512 bytes of local memory"));
}

// A common limit. Blocks of totals of 1024 work-items come with an intermediate pass, beyond a million observations.
template <typename T>
void expect_that_48_KiB_suffice() {
    const auto device = gpu_with_local_memory(1024, 48 * 1024);
    for (const auto weights : {weighting::none, weighting::positive}) {
        const auto data = test::make<T>({.n_dims = 2, .n_observations = 3000, .weights = weights});
        for (const auto& estimate : test::estimates<T>()) {
            for (const auto& how : test::arrangements) {
                SCOPED_TRACE(estimate.name + ", weights " + std::to_string(static_cast<int>(weights)));
                EXPECT_EQ(refusal(device, [&](sycl::queue& queue) { estimate.run(queue, how, data); }), "");
            }
        }
    }
}

TEST(local_memory, of_48_KiB_suffices_for_every_estimate) {
    expect_that_48_KiB_suffice<float>();
    expect_that_48_KiB_suffice<double>();
}
