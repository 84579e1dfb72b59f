#include "kernels.hpp"

namespace test {

struct kernel_without_image {
    int* value;
    void operator()() const { *value = 1; }
};

sycl::event without_image(sycl::queue& queue, int* value) {
    return queue.submit([&](sycl::handler& handler) { handler.single_task(kernel_without_image{value}); });
}

} // namespace test
