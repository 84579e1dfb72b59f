#include "support/devices.hpp"

#include <stats/stats.hpp>

#include <chrono>
#include <future>

// Which calls on a CPU device wait, and for what.

namespace {

using namespace std::chrono_literals;
namespace stats = aurelo::qtx::stats;
constexpr auto rows = stats::layout::by_dimension;

using test::complete;

class waiting : public testing::Test {
protected:
    waiting() {
        std::copy_n(std::array<double, 6>{1, 2, 4, 1, 3, 9}.begin(), 6, x);
        out[0] = -1;
    }
    ~waiting() override { sycl::free(x, queue); }

    /// A command that ends when the gate opens.
    sycl::event closed_gate() {
        return queue.submit([&](sycl::handler& handler) {
            handler.host_task([future = gate.get_future().share()] { future.wait(); });
        });
    }

    sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    double* x = sycl::malloc_shared<double>(10, queue);
    double* out = x + 6;
    double* mean = x + 8;
    stats::dataset<rows, double*> data{2, 3, x};
    std::promise<void> gate;
};

} // namespace

TEST_F(waiting, calls_without_scratch_return_before_their_dependencies_have_finished) {
    mean[0] = mean[1] = 2;
    const auto before = closed_gate();
    double* const none = nullptr;
    sycl::event max = stats::max(queue, data, out, {before});
    sycl::event sum = stats::central_sum(queue, mean, data, out, none, none, {max});
    EXPECT_FALSE(complete(max));
    EXPECT_FALSE(complete(sum));
    EXPECT_EQ(out[0], -1);
    gate.set_value();
    sum.wait();
    EXPECT_EQ(out[0], 1 + 0 + 4);
}

TEST_F(waiting, calls_with_scratch_are_complete_on_return) {
    const auto before = closed_gate();
    auto call = std::async(std::launch::async, [&] { return stats::kurtosis(queue, data, out, {before}); });
    EXPECT_EQ(call.wait_for(30ms), std::future_status::timeout);
    EXPECT_EQ(out[0], -1);
    gate.set_value();
    EXPECT_TRUE(complete(call.get()));
    EXPECT_NE(out[0], -1);
}

TEST_F(waiting, a_command_with_the_callers_mean_counts_as_its_writer) {
    sycl::buffer<double, 1> values(x, x + 6);
    sycl::buffer<double, 1> means(x, x + 2);
    sycl::buffer<double, 1> result{sycl::range<1>(2)};
    queue.submit([&](sycl::handler& handler) {
        const sycl::accessor reader(means, handler, sycl::read_only);
        handler.host_task([reader, future = gate.get_future().share()] { future.wait(); });
    });
    stats::variation(queue, means, stats::dataset<rows, sycl::buffer<double, 1>>{2, 3, values}, result);
    auto seen =
        std::async(std::launch::async, [&] { return sycl::host_accessor(result, sycl::read_only)[0]; });
    EXPECT_EQ(seen.wait_for(30ms), std::future_status::timeout) << "the reader of the mean was overtaken";
    gate.set_value();
    EXPECT_GT(seen.get(), 0);
}

TEST_F(waiting, buffer_calls_leave_completion_to_their_buffers) {
    sycl::buffer<double, 1> values(x, x + 6);
    sycl::buffer<double, 1> result{sycl::range<1>(2)};
    queue.submit([&](sycl::handler& handler) {
        const sycl::accessor writer(values, handler, sycl::read_write);
        handler.host_task([writer, future = gate.get_future().share()] {
            future.wait();
            writer[0] = 7;
        });
    });
    stats::max(queue, stats::dataset<rows, sycl::buffer<double, 1>>{2, 3, values}, result);
    gate.set_value();
    EXPECT_EQ(sycl::host_accessor(result, sycl::read_only)[0], 7);
}
