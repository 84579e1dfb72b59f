#include "basalt_driver.hpp"
#include "opencl_driver.hpp"

namespace sycl::detail {

namespace {

template <typename Platform>
void append(std::vector<std::shared_ptr<platform_impl>>& list, std::vector<std::shared_ptr<Platform>> more) {
    list.insert(list.end(), more.begin(), more.end());
}

} // namespace

const std::vector<std::shared_ptr<platform_impl>>& all_platforms() {
    static const auto* const platforms = [] {
        auto list = std::make_unique<std::vector<std::shared_ptr<platform_impl>>>();
        append(*list, basalt::make_platforms());
        append(*list, opencl::make_platforms());
        return list.release();
    }();
    return *platforms;
}

} // namespace sycl::detail
