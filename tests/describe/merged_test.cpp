// What is done with the statistics of chunks, and what is shown meanwhile.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "merged.hpp"
#include "progress.hpp"

namespace aurelo::qtx::describe {
namespace {

/// The statistics of one observation.
stats::partial single(double x) {
    stats::partial p;
    p.count = 1;
    p.weight = p.square_weight = 1;
    p.mean = p.min = p.max = p.raw_sum[0] = x;
    return p;
}

TEST(merged, no_chunk_is_lost_whatever_their_number) {
    for (int n = 0; n <= 33; ++n) {
        chunk_merger merger;
        for (int i = 1; i <= n; ++i) {
            merger.add({single(i), single(-i)});
        }
        const auto total = merger.total();
        ASSERT_EQ(total.size(), n == 0 ? 0U : 2U);
        EXPECT_EQ(merger.n_chunks(), static_cast<std::size_t>(n));
        for (std::size_t d = 0; d < total.size(); ++d) {
            EXPECT_EQ(total[d].count, n);
            EXPECT_EQ(total[d].raw_sum[0], (d == 0 ? 1 : -1) * n * (n + 1) / 2.0);
        }
    }
}

TEST(merged, every_estimate_finds_its_place) {
    // The observations 1, 2, 4 of one dimension; about 2 where a mean is taken.
    const auto total = merge(merge(single(1), single(2)), single(4));
    const auto selection = default_estimates(false, true);
    const auto about = computed_of<double>({total}, selection, {2});
    const auto value = [&](std::string_view name) {
        const auto found =
            std::find_if(about.begin(), about.end(), [&](const auto& c) { return c.what->name == name; });
        return found->values.at(0);
    };
    ASSERT_EQ(about.size(), all_estimates.size());
    EXPECT_EQ(value("min"), 1);
    EXPECT_EQ(value("max"), 4);
    EXPECT_EQ(value("sum"), 7);
    EXPECT_DOUBLE_EQ(value("mean"), 7.0 / 3);
    EXPECT_NEAR(value("central_sum2"), 5, 1e-14);
    EXPECT_NEAR(value("central_sum3"), 7, 1e-14);
    EXPECT_NEAR(value("central_sum4"), 17, 1e-13);
    EXPECT_NEAR(value("central_moment2"), 2.5, 1e-14);
    EXPECT_NEAR(value("central_moment3"), 7.0 / 3, 1e-14);
    EXPECT_NEAR(value("variation"), std::sqrt(2.5) / 2, 1e-14);
}

TEST(progress, a_line_shows_share_and_rows) {
    EXPECT_EQ(progress_line({1234567, 50}, 200), "[======                   ]  25 %, 1,234,567 rows");
    EXPECT_EQ(progress_line({3, 300}, 200), "[=========================] 100 %, 3 rows");
    EXPECT_EQ(progress_line({1024, 0}, 0), "1,024 rows");
    EXPECT_EQ(total_bytes({"-"}), 0U);
    EXPECT_EQ(total_bytes({"/dev/null", "/no/such/file"}), 0U);
}

} // namespace
} // namespace aurelo::qtx::describe
