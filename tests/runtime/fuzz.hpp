#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

namespace test {

inline std::uint64_t number_from(const char* variable, std::uint64_t otherwise) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : std::stoull(text);
}

/// What a random test goes by: QTX_FUZZ_SEED says where it begins, QTX_FUZZ_SECONDS how long it takes.
struct fuzz {
    std::uint64_t seed = number_from("QTX_FUZZ_SEED", std::random_device{}());
    std::chrono::steady_clock::time_point end =
        std::chrono::steady_clock::now() + std::chrono::seconds(number_from("QTX_FUZZ_SECONDS", 1));

    bool goes_on() const { return std::chrono::steady_clock::now() < end && !testing::Test::HasFailure(); }
    std::string text() const { return "QTX_FUZZ_SEED=" + std::to_string(seed); }
};

} // namespace test
