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

TEST(progress, a_line_shows_share_and_rows) {
    EXPECT_EQ(progress_line({1234567, 50}, 200), "[======                   ]  25 %, 1,234,567 rows");
    EXPECT_EQ(progress_line({3, 300}, 200), "[=========================] 100 %, 3 rows");
    EXPECT_EQ(progress_line({1024, 0}, 0), "1,024 rows");
    EXPECT_EQ(total_bytes({"-"}), 0U);
    EXPECT_EQ(total_bytes({"/dev/null", "/no/such/file"}), 0U);
}

} // namespace
} // namespace aurelo::qtx::describe
