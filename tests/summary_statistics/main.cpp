// TSB_TEST_VECTORS chooses the instruction set that the component may use: best (default), avx2 or baseline.
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <string_view>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const char* wanted = std::getenv("TSB_TEST_VECTORS");
    const std::string_view level = wanted ? wanted : "best";
    if (level == "avx2") {
        hwy::DisableTargets(HWY_AVX3 | HWY_AVX3_DL);
    } else if (level == "baseline") {
        hwy::DisableTargets(HWY_AVX3 | HWY_AVX3_DL | HWY_AVX2);
    } else if (level != "best") {
        std::fprintf(stderr, "TSB_TEST_VECTORS is '%s'; it takes best, avx2 or baseline\n", wanted);
        return 2;
    }
    return RUN_ALL_TESTS();
}
