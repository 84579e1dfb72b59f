#include "support/devices.hpp"

#include <stats/make_partials.hpp>
#include <stats/stats.hpp>

#include <chrono>
#include <future>
#include <numeric>
#include <vector>

// Which calls wait for what, and how long they use the memory of their buffers.

namespace {

using namespace std::chrono_literals;
namespace stats = aurelo::qtx::stats;
constexpr auto rows = stats::layout::by_dimension;

using test::complete;
using events = std::vector<sycl::event>;
using buffer = sycl::buffer<double, 1>;
using pointers = stats::dataset<rows, double*>;

template <typename T>
bool waits(const std::future<T>& call) {
    return call.wait_for(20ms) == std::future_status::timeout;
}

/// A host task that ends when the gate opens; \p bind makes what it needs in its command group and returns what it
/// does then.
template <typename Bind>
sycl::event closed_by(std::promise<void>& gate, sycl::queue& queue, const Bind& bind) {
    return queue.submit([&](sycl::handler& handler) {
        handler.host_task([future = gate.get_future().share(), then = bind(handler)] {
            future.wait();
            then();
        });
    });
}

/// Keeps commands that use \p held from starting.
void close(std::promise<void>& gate, sycl::queue& queue, buffer& held) {
    closed_by(gate, queue, [&](sycl::handler& handler) {
        return [writer = sycl::accessor(held, handler, sycl::read_write)] { static_cast<void>(writer); };
    });
}

std::vector<sycl::device> devices() {
    return {sycl::device(sycl::cpu_selector_v), test::gpu_with_limit(4)};
}

struct usm_form {
    const char* name;
    bool has_scratch; ///< on a CPU device
    sycl::event (*call)(sycl::queue&, const pointers&, double* mean, double* out, const events&);
};

#define FORM(HAS_SCRATCH, NAME, ...)                                                                         \
    {                                                                                                        \
#NAME "(" #__VA_ARGS__ ")", HAS_SCRATCH,                                                             \
            [](sycl::queue & queue, const pointers& data, [[maybe_unused]] double* mean, double* out,        \
               const events& before) { return stats::NAME(queue, __VA_ARGS__, before); }                     \
    }
#define FORMS_ABOUT_A_MEAN(HAS_SCRATCH, NAME, ...)                                                           \
    FORM(true, NAME, data, __VA_ARGS__), FORM(HAS_SCRATCH, NAME, mean, data, __VA_ARGS__)
const usm_form usm_forms[] = {
    FORM(false, max, data, out),
    FORM(false, min, data, out),
    FORM(false, min_max, data, out, out + 2),
    FORM(false, mean, data, out),
    FORM(false, raw_sum, data, out, out + 2, out + 4, out + 6),
    FORM(false, raw_moment, data, out, out + 2, out + 4, out + 6),
    FORMS_ABOUT_A_MEAN(false, central_sum, out, out + 2, out + 4),
    FORMS_ABOUT_A_MEAN(true, central_moment, out, out + 2, out + 4),
    FORMS_ABOUT_A_MEAN(true, variation, out),
    FORMS_ABOUT_A_MEAN(true, skewness, out),
    FORMS_ABOUT_A_MEAN(true, kurtosis, out),
};
#undef FORM
#undef FORMS_ABOUT_A_MEAN

class waiting : public testing::Test {
protected:
    waiting() { std::iota(x, x + 20, 1); }
    ~waiting() override { sycl::free(x, queue); }

    sycl::queue queue{sycl::device(sycl::cpu_selector_v)};
    double* x = sycl::malloc_shared<double>(30, queue);
    double* mean = x + 20;
    double* out = x + 22;
    std::promise<void> gate;
};

} // namespace

// The dependency writes the data as its last act, so that a call that does not wait has other results.
TEST(dependencies, every_usm_form_reads_its_data_after_them) {
    for (const auto& device : devices()) {
        sycl::queue queue(device);
        double* const x = sycl::malloc_shared<double>(42, queue);
        double* const out = x + 22;
        const pointers data{2, 10, x};
        for (const auto& form : usm_forms) {
            SCOPED_TRACE(form.name + (" on " + device.get_info<sycl::info::device::name>()));
            std::fill_n(x, 42, -1);
            std::promise<void> gate;
            const auto before = closed_by(gate, queue, [x](auto&) {
                return [x] {
                    for (int i = 0; i < 22; ++i) {
                        x[i] = 1 + i * i % 7;
                    }
                };
            });
            auto call =
                std::async(std::launch::async, [&] { return form.call(queue, data, x + 20, out, {before}); });
            const bool blocks = form.has_scratch || device.is_gpu();
            EXPECT_EQ(waits(call), blocks);
            gate.set_value();
            sycl::event done = call.get();
            EXPECT_TRUE(!form.has_scratch || device.is_gpu() || complete(done));
            done.wait();
            form.call(queue, data, x + 20, out + 10, {}).wait();
            EXPECT_TRUE(std::equal(out, out + 8, out + 10));
            EXPECT_NE(out[0], -1);
        }
        sycl::free(x, queue);
    }
}

TEST(dependencies, of_partials_are_over_before_data_and_weights_are_read) {
    for (const auto& device : devices()) {
        sycl::queue queue(device);
        double* const x = sycl::malloc_shared<double>(20, queue);
        std::fill_n(x, 20, -1);
        std::promise<void> gate;
        const auto before = closed_by(gate, queue, [x](auto&) { return [x] { std::fill_n(x, 20, 2); }; });
        auto call = std::async(std::launch::async, [&] {
            return stats::make_partials(queue, stats::make_dataset<rows>(1, 10, x, x + 10), {before})[0];
        });
        EXPECT_TRUE(waits(call));
        gate.set_value();
        const stats::partial made = call.get();
        EXPECT_EQ(made.weight, 20);
        EXPECT_EQ(made.raw_sum[0], 40);
        sycl::free(x, queue);
    }
}

// A command has its inputs for as long as it needs them: the destructor of a buffer over the user's memory waits.
TEST(buffer_lifetime, of_every_input_lasts_until_the_command_has_read_it) {
    for (const auto& device : devices()) {
        sycl::queue queue(device);
        for (const std::string last : {"observations", "weights", "indices", "mean"}) {
            SCOPED_TRACE(last + " on " + device.get_info<sycl::info::device::name>());
            buffer out{sycl::range<1>(1)};
            std::promise<void> gate;
            close(gate, queue, out);
            const auto call = [&] {
                std::vector<double> values{1, 2, 3, 4, 5, 6}, ones(6, 1), center{2};
                std::vector<std::int64_t> mask{1};
                const auto over = [&](const char* name, auto& memory) {
                    sycl::buffer made(memory.data(), sycl::range<1>(memory.size()));
                    return last == name ? made : decltype(made)(memory.begin(), memory.end());
                };
                buffer mean = over("mean", center);
                stats::central_sum(queue, mean,
                                   stats::make_dataset<rows>(1, 6, over("observations", values),
                                                             over("weights", ones), over("indices", mask)),
                                   out, buffer(sycl::range<1>(0)), buffer(sycl::range<1>(0)));
            };
            auto called = std::async(std::launch::async, call);
            EXPECT_TRUE(waits(called)) << "the memory went before the command had begun";
            gate.set_value();
            called.get();
            EXPECT_EQ(sycl::host_accessor(out, sycl::read_only)[0], 1 + 0 + 1 + 4 + 9 + 16);
        }
    }
}

// The first element of the data is the output as well.
TEST(buffer_lifetime, results_reach_the_users_memory_also_in_place) {
    for (const auto& device : devices()) {
        sycl::queue queue(device);
        for (const bool to_final_data : {false, true}) {
            SCOPED_TRACE(to_final_data ? "set_final_data" : "memory of the buffer");
            std::vector<double> values{1, 2, 3, 4, 5, 6}, copy(6);
            buffer held{sycl::range<1>(1)};
            std::promise<void> gate;
            close(gate, queue, held);
            auto called = std::async(std::launch::async, [&] {
                buffer in_place(values.data(), sycl::range<1>(6));
                if (to_final_data) {
                    in_place.set_final_data(copy.data());
                }
                const stats::dataset<rows, buffer> data{1, 6, in_place};
                stats::max(queue, data, held);
                stats::max(queue, data, in_place);
                stats::min_max(queue, data, held, in_place);
            });
            EXPECT_TRUE(waits(called));
            gate.set_value();
            called.get();
            EXPECT_EQ(to_final_data ? copy[0] : values[0], 6);
        }
    }
}

TEST_F(waiting, a_command_with_the_callers_mean_counts_as_its_writer) {
    buffer values(x, x + 20), means(x, x + 2), result{sycl::range<1>(2)};
    closed_by(gate, queue, [&](sycl::handler& handler) {
        return [reader = sycl::accessor(means, handler, sycl::read_only)] { static_cast<void>(reader); };
    });
    stats::variation(queue, means, stats::dataset<rows, buffer>{2, 10, values}, result);
    auto seen =
        std::async(std::launch::async, [&] { return sycl::host_accessor(result, sycl::read_only)[0]; });
    EXPECT_TRUE(waits(seen)) << "the reader of the mean was overtaken";
    gate.set_value();
    EXPECT_GT(seen.get(), 0);
}

TEST_F(waiting, buffer_calls_leave_completion_to_their_buffers) {
    buffer values(x, x + 20), result{sycl::range<1>(2)};
    closed_by(gate, queue, [&](sycl::handler& handler) {
        return [writer = sycl::accessor(values, handler, sycl::read_write)] { writer[0] = 70; };
    });
    stats::max(queue, stats::dataset<rows, buffer>{2, 10, values}, result);
    gate.set_value();
    EXPECT_EQ(sycl::host_accessor(result, sycl::read_only)[0], 70);
}
