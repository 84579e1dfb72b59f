#pragma once

#include "../support/devices.hpp"
#include "../support/errors.hpp"

#include <string>
#include <vector>

namespace test {

/// The CPU device and software GPUs of two limits.
inline const std::vector<sycl::device>& devices() {
    static const std::vector<sycl::device> list{sycl::device(sycl::cpu_selector_v), gpu_with_limit(4),
                                                gpu_with_limit(64)};
    return list;
}

/// Expects \p call to throw a sycl::exception of this code whose message has these words in it.
template <typename Call>
void expect_refused(sycl::errc code, const std::string& words, const Call& call) {
    try {
        call();
        ADD_FAILURE() << "no sycl::exception was thrown";
    } catch (const sycl::exception& error) {
        EXPECT_EQ(error.code(), code) << error.what();
        EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
    }
}

using int_buffer = sycl::buffer<int, 1>;

inline int first_of(int_buffer& data) {
    return sycl::host_accessor(data, sycl::read_only)[0];
}

/// Calls `change(element)` for every element, in a kernel.
template <typename Change>
sycl::event in_kernel(sycl::queue& queue, int_buffer& data, const Change& change) {
    return queue.submit([&](sycl::handler& group) {
        sycl::accessor target(data, group, sycl::read_write);
        group.parallel_for(sycl::nd_range<1>(data.size(), 1),
                           [=](sycl::nd_item<1> item) { change(target[item.get_global_id(0)]); });
    });
}

template <typename Work>
sycl::event in_host_task(sycl::queue& queue, const Work& work, const std::vector<sycl::event>& after = {}) {
    return queue.submit([&](sycl::handler& group) {
        group.depends_on(after);
        group.host_task(work);
    });
}

class on_every_device : public testing::TestWithParam<sycl::device> {
protected:
    sycl::queue queue{GetParam()};
};

#define ON_EVERY_DEVICE(SUITE)                                                                               \
    INSTANTIATE_TEST_SUITE_P(devices, SUITE, testing::ValuesIn(test::devices()), [](const auto& chosen) {    \
        return (chosen.param.is_cpu() ? "cpu" : "gpu") + std::to_string(test::limit_of(chosen.param));       \
    })

} // namespace test
