#include "device/basic_submit.hpp"
#include "device/estimates/extended_funcs.hpp"
#include "device/estimates/raw_funcs.hpp"
#include "device/minmax_submit.hpp"

#include "support/devices.hpp"
#include "support/run.hpp"

// Masks of 32-bit integers behind the type of 64-bit ones, as offloaded tasks bring them.

namespace {

namespace gpu = aurelo::qtx::stats::detail::gpu;
namespace stats = aurelo::qtx::stats;
using stats::layout;

class mask_32 : public test::on_every_gpu {
protected:
    /// Runs `submit(queue, dataset, out)` under the mask, with exactly as much memory as the mask has.
    template <layout L, typename Submit>
    std::vector<double> run(const test::host_dataset<double>& data, const std::vector<std::int32_t>& mask,
                            const Submit& submit) {
        const test::usm_array<double> values(queue, data.placed<L>());
        const test::usm_array<std::int32_t> words(queue, mask);
        const test::usm_array<double> out(queue, std::vector<double>(data.n_dims, test::untouched<double>));
        const stats::dataset<L, double*> set(static_cast<std::int64_t>(data.n_dims),
                                             static_cast<std::int64_t>(data.n_observations), values.get(),
                                             nullptr, reinterpret_cast<std::int64_t*>(words.get()));
        submit(set, out.get()).wait();
        return out.values();
    }

    template <typename Submit>
    void expect_masked_as_with_64_bits(const Submit& submit) {
        for (const std::size_t n : {wg(), wg() + 1, 2 * wg() + 1}) {
            for (const unsigned bits : {0u, 1u, 2u, 21u, 10u, 31u}) {
                const auto data = test::make<double>({.n_dims = 5, .n_observations = n, .integers = true});
                std::vector<std::int32_t> mask;
                for (unsigned d = 0; d < 5; ++d) {
                    mask.push_back((bits >> d & 1u) != 0 ? -1 - static_cast<std::int32_t>(d) : 0);
                }
                const auto all = run<layout::by_dimension>(data, std::vector<std::int32_t>(5, 1), submit);
                const auto rows = run<layout::by_dimension>(data, mask, submit);
                EXPECT_EQ(rows, (run<layout::by_observation>(data, mask, submit)));
                for (std::size_t d = 0; d < 5; ++d) {
                    EXPECT_EQ(rows[d], mask[d] != 0 ? all[d] : test::untouched<double>)
                        << n << " observations, mask bits " << bits << ", dimension " << d;
                }
            }
        }
    }
};
ON_EVERY_GPU(mask_32);

} // namespace

TEST_P(mask_32, minmax) {
    expect_masked_as_with_64_bits([this](const auto& set, double* out) {
        return gpu::submit_minmax_usm<false>(queue, set, gpu::max_func_fast<double, true>(out), {});
    });
}

TEST_P(mask_32, sums) {
    expect_masked_as_with_64_bits([this](const auto& set, double* out) {
        return gpu::submit_basic_usm<false>(
            queue, set, gpu::raw_sum_func_fast<double, true>(nullptr, nullptr, nullptr, out), {});
    });
}

TEST_P(mask_32, extended_functors) {
    expect_masked_as_with_64_bits([this](const auto& set, double* out) {
        return gpu::submit_basic_usm<false>(queue, set,
                                            gpu::ex::central_sum_func_fast<double, true>(
                                                nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, out),
                                            {});
    });
}
