// Loading and unloading: what was registered is removed, and nothing of the library stays behind.
#include "registrations.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace {

using namespace test;

std::string mappings_of_the_library() {
    std::ifstream maps("/proc/self/maps");
    std::string found;
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libqtx_sycl_stats") != std::string::npos) {
            found += line + '\n';
        }
    }
    return found;
}

TEST(library, comes_and_goes_a_hundred_times) {
    watched() = {};
    for (int i = 0; i < 100; ++i) {
        {
            const loaded_library library;
            ASSERT_NE(mappings_of_the_library(), "");
            ASSERT_EQ(watched().made.size(), watched().removed.size() + (watched().made.empty() ? 0 : 1));
        }
        ASSERT_EQ(mappings_of_the_library(), "") << "after load " << i + 1;
    }
    EXPECT_TRUE(std::equal(watched().made.begin(), watched().made.end(), watched().removed.begin(),
                           watched().removed.end()));
#ifdef QTX_DEVICE_IMAGES
    EXPECT_EQ(watched().made.size(), 100U);
#endif
}

// Entries that load other libraries, or make what is destroyed at exit, must not hold it.
TEST(library, goes_after_its_entries_were_called) {
    for (int i = 0; i < 3; ++i) {
        {
            const loaded_library library;
            const auto load = reinterpret_cast<int (*)()>(library.symbol("qtx_cl_load_lib"));
            ASSERT_NE(load, nullptr);
            EXPECT_EQ(load(), 0);
        }
        ASSERT_EQ(mappings_of_the_library(), "");
    }
}

} // namespace
