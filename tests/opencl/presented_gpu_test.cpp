#include "support/devices.hpp"
#include "support/optional.hpp"

// Without a device the suites beside it have no cases.
TEST(opencl_gpu, is_there) {
    if (test::gpus().empty()) {
        SUPPORT_MISSING("no OpenCL device");
    }
    EXPECT_TRUE(test::gpus().front().is_gpu());
}
