#include <stats/omp_offload.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>

#include <dlfcn.h>

// A process without an OpenMP run-time: the executable exports this, so that the library finds it first.
extern "C" __attribute__((visibility("default"))) void* dlopen(const char* name, int flags) noexcept {
    static const auto real = reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
    if (name != nullptr && std::strstr(name, "libomptarget") != nullptr) {
        return nullptr;
    }
    return real(name, flags);
}

namespace {

struct record {
    explicit record(std::int64_t storage_code) : storage(storage_code) {
        words.fill(0);
        words[0x40 / 8] = reinterpret_cast<std::uint64_t>(&storage);
    }
    std::int64_t storage;
    std::array<std::uint64_t, 30> words;
};

} // namespace

TEST(missing_runtime, is_noticed_after_the_storage_code) {
    testing::internal::CaptureStderr();
    record bad(3), good(0x10000);
    EXPECT_EQ(qtx_tsb_dSSCompute_omp_offload_ilp64(bad.words.data(), 0, 1, nullptr), -3);
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(qtx_tsb_dSSCompute_omp_offload_ilp64(good.words.data(), 0, 1, nullptr), -2);
        EXPECT_EQ(qtx_tsb_sSSCompute_omp_offload_lp64(good.words.data(), 0, 1, nullptr), -2);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
